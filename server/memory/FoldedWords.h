#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// A word as it is compared: lower case, without its commonest English endings, and with letters
/// and digits that recognition takes for one another made one ("0" and "o", "1", "l" and "i", "5"
/// and "s", "rn" and "m"). A number stays as it is. Empty for an empty word.
std::string foldWord(std::string_view word);

/// The same without touching endings, for names and titles compared as a whole. Signs, blanks and
/// underscores are gone.
std::string foldName(std::string_view text);

/// The folded words of a text: runs of letters and digits, "maxProfit" and "max_profit" as two.
std::vector<std::string> foldedWordsOf(std::string_view text);

/// The number of letters to insert, drop or replace until both are equal; anything above `limit`
/// is given as limit + 1. Time is the length times the limit.
std::size_t editDistance(std::string_view left, std::string_view right, std::size_t limit);

} // namespace lumivane::service
