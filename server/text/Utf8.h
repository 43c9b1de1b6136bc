#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lumivane::service {

/// Takes the first code point off `rest`, which must not be empty. Broken bytes come out one by
/// one as U+FFFD, so that every walk ends.
char32_t takeCodePoint(std::string_view& rest);

void appendCodePoint(std::string& text, char32_t codePoint);

std::size_t countCodePoints(std::string_view text);

/// Letters and digits of every script, told by range: ASCII exactly, everything from U+00AA on
/// but punctuation, symbols, private use and emoji.
bool isWordCharacter(char32_t codePoint);

/// Han, kana and Hangul: scripts whose words are not set apart by blanks.
bool isIdeographic(char32_t codePoint);

bool isSpace(char32_t codePoint);

/// Lower case of Latin, Greek, Cyrillic and Armenian letters; any other is returned as it is.
char32_t toLower(char32_t codePoint);

std::string toLowerText(std::string_view text);

/// Without white space at both ends.
std::string_view trimmed(std::string_view text);

/// Whether there is anything but white space.
bool hasContent(std::string_view text);

/// At most `limit` code points: cut at the last blank that leaves half of them, else between two
/// characters, with "…" in place of what was cut.
std::string shortened(std::string_view text, std::size_t limit);

} // namespace lumivane::service
