#pragma once

#include "overlays/StyledText.h"

#include <QString>

/// What of an answer a panel can show at once. Answers of a reasonable size are shown as they are;
/// the copy button and the clipboard always give the whole answer.
namespace lumivane::ShownAnswer {

/// In UTF-16 code units; what is longer ends with "…".
inline constexpr qsizetype mostCharacters = 100'000;
inline constexpr qsizetype mostLines = 5'000;

/// A longer line is broken, at a blank where it has one: laying out a line takes time that grows
/// with the square of its length.
inline constexpr qsizetype longestLine = 4'000;

/// The answer as running text. U+FFFC, which stands for an embedded object and would take its whole
/// paragraph off the panel, becomes U+FFFD.
StyledText passage(const StyledText& text);
StyledText passage(const QString& text);

/// The answer on one line: without blanks around it, and with blanks for line breaks.
QString line(const QString& text);

} // namespace lumivane::ShownAnswer
