#include "server/analysis/PromptWish.h"

#include "server/analysis/ScreenWords.h"

#include <algorithm>
#include <array>
#include <string>

namespace lumivane::service {

namespace {

using std::string_view_literals::operator""sv;

constexpr std::array summaryWords{
    "summarise"sv, "summarize"sv, "summary"sv, "summaries"sv, "sum"sv, "recap"sv, "gist"sv,
    "overview"sv,  "outline"sv,   "tldr"sv,    "tl;dr"sv,     "key"sv, "main"sv,  "important"sv,
};

constexpr std::array deadlineWords{"deadline"sv, "deadlines"sv, "dates"sv, "due"sv};

constexpr std::array questionWords{"question"sv, "questions"sv};

// Words that ask for nothing by themselves.
constexpr std::array fillers{
    "the"sv,      "a"sv,         "an"sv,     "in"sv,     "of"sv,    "on"sv,    "this"sv,
    "me"sv,       "my"sv,        "please"sv, "then"sv,   "and"sv,   "with"sv,  "any"sv,
    "all"sv,      "list"sv,      "give"sv,   "show"sv,   "find"sv,  "tell"sv,  "what"sv,
    "is"sv,       "are"sv,       "there"sv,  "screen"sv, "text"sv,  "page"sv,  "content"sv,
    "for"sv,      "it"sv,        "as"sv,     "up"sv,     "short"sv, "brief"sv, "briefly"sv,
    "first"sv,    "last"sv,      "also"sv,   "open"sv,   "its"sv,   "line"sv,  "lines"sv,
    "sentence"sv, "sentences"sv, "point"sv,  "points"sv, "date"sv,  "to"sv,    "most"sv,
    "at"sv,       "just"sv,      "only"sv,   "or"sv,     "from"sv,  "about"sv,
};

constexpr std::array numbers{"one"sv, "two"sv,   "three"sv, "four"sv, "five"sv,
                             "six"sv, "seven"sv, "eight"sv, "nine"sv, "ten"sv};

template <std::size_t count>
bool isIn(const std::array<std::string_view, count>& words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

std::optional<std::size_t> numberOf(std::string_view word) {
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        if (word == numbers[index] || word == std::to_string(index + 1)) {
            return index + 1;
        }
    }
    return std::nullopt;
}

// "The most important deadline", "the main question": whoever asks for one of
// many must not get the many.
bool choosesAmongMany(const std::vector<std::string>& words, std::size_t index) {
    static constexpr std::array choosing{"important"sv, "main"sv, "key"sv};
    static constexpr std::array between{"of"sv, "the"sv, "all"sv, "my"sv, "open"sv};
    if (!isIn(choosing, words[index])) {
        return false;
    }
    do {
        ++index;
    } while (index < words.size() && isIn(between, words[index]));
    return index < words.size() && (isIn(deadlineWords, words[index]) || words[index] == "date" ||
                                    isIn(questionWords, words[index]));
}

bool readWord(const std::string& word, PromptWish& wish) {
    if (isIn(summaryWords, word)) {
        wish.wantsSummary = true;
    } else if (isIn(deadlineWords, word)) {
        wish.wantsDeadlines = true;
    } else if (isIn(questionWords, word)) {
        wish.wantsQuestions = true;
    } else if (const auto number = numberOf(word)) {
        const bool isFirst = !wish.lines;
        wish.lines = number;
        return isFirst;
    } else {
        return isIn(fillers, word);
    }
    return true;
}

} // namespace

std::optional<PromptWish> readPromptWish(std::string_view prompt) {
    PromptWish wish;
    const std::vector<std::string> words = wordsOf(prompt);
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (choosesAmongMany(words, index) || !readWord(words[index], wish)) {
            return std::nullopt;
        }
    }
    const bool asksSomething = wish.wantsSummary || wish.wantsDeadlines || wish.wantsQuestions;
    // A number is the summary's; of a list it would ask for some of many.
    const bool isWhole = wish.wantsSummary || !wish.lines;
    return asksSomething && isWhole ? std::optional(wish) : std::nullopt;
}

} // namespace lumivane::service
