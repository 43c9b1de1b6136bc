#pragma once

#include <QString>
#include <QStringView>

#include <cstdint>

namespace lumivane {

// Lengths that users see are counted in characters: extended grapheme clusters.

std::int64_t characterCount(QStringView text);

/// The first `count` characters, or all of them where there are fewer.
QStringView firstCharacters(QStringView text, std::int64_t count);

/// The last `count` characters, or all of them where there are fewer.
QStringView lastCharacters(QStringView text, std::int64_t count);

/// Unicode scalars; half of a surrogate pair counts as one.
std::int64_t scalarCount(QStringView text);

/// Letter or number in the Unicode sense: general categories L and N.
bool isLetterOrNumber(char32_t scalar);

} // namespace lumivane
