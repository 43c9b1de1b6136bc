#pragma once

#include "screen/ScreenTextLayout.h"

#include <QString>

#include <cstdint>

namespace lumivane::ScreenTextLayout {

// The steps of the layout that work on the rendered text alone. Only the layout and its tests
// call them.

/// Thins out repeated chrome: a line equal to the one before it goes, and one line stands at most
/// `repeatedLineCap` times. Empty lines all stay.
QString collapseRepeats(const QString& text);

/// Composes the text (NFC) and drops invisible characters. Tabs become one blank each, four or more
/// blanks become three, blanks at a line's end go, and blank lines are held to two in a row.
QString normalize(QString text);

/// Control characters, zero-width marks and the like; tab, line feed and carriage return stay.
bool isDiscardable(char32_t scalar);

/// What stands in place of the characters left out.
QString marker(std::int64_t omitted);

/// Holds the text to `maximumCharacters` by leaving out its middle.
ScreenTextLayoutResult truncateMiddleOut(const QString& text);

} // namespace lumivane::ScreenTextLayout
