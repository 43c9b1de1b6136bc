#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// The words of a line: parts between blanks without the punctuation around them, in lower case.
/// What stands inside stays, so "14:30" and "2026-03-14" are one word each.
std::vector<std::string> wordsOf(std::string_view text);

/// What words are counted by: runs of letters and digits in lower case, and in scripts without
/// blanks each pair of neighbours.
std::vector<std::string> termsOf(std::string_view text);

/// How much there is to read, in words; two characters of a script without blanks are one.
std::size_t readingWords(std::string_view text);

/// The letters and digits alone, in lower case: equal for lines that differ only in trimmings.
std::string foldedKey(std::string_view text);

} // namespace lumivane::service
