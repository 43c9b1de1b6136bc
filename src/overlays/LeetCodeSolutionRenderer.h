#pragma once

#include "overlays/StyledText.h"

#include <QString>

#include <optional>

namespace lumivane {

/// Turns the Markdown of a worked answer into what its panel shows: the reasoning without the code.
///
/// Not a Markdown engine: a line scanner with a fixed vocabulary, linear in the answer's length.
namespace LeetCodeSolutionRenderer {

inline const QString statusPrefix = u"**Status:**"_qs;

/// `baseSize` is that of body text, in points; headings are scaled from it. Never fails: a
/// document of nothing but code gives an empty text.
StyledText rendered(const QString& text, double baseSize);

/// The title, when it is the first line that has any content; none otherwise.
std::optional<QString> leadingTitle(const QString& text);

} // namespace LeetCodeSolutionRenderer

} // namespace lumivane
