#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// How much a sentence says about time.
enum class TimeMention {
    none,
    moment,  ///< names a date, a time of day or a weekday
    deadline ///< says that something is due then
};

/// A date, a time of day, a weekday, or a word such as "tomorrow". `next` is the word behind it,
/// or empty: "14" names a day only before "march", and "5" a time only before "pm".
bool isMoment(std::string_view word, std::string_view next);

/// Judges the words of one sentence (ScreenWords.h), in the larger European languages.
TimeMention timeMention(const std::vector<std::string>& words);

/// The names in the moments of a sentence: of days, months and halves of a day, without numbers.
std::vector<std::string> momentNames(const std::vector<std::string>& words);

/// How many of the words belong to moments.
std::size_t countMomentWords(const std::vector<std::string>& words);

} // namespace lumivane::service
