#include "server/memory/FoldedWords.h"

#include "server/text/Utf8.h"

#include <algorithm>
#include <array>

namespace lumivane::service {

namespace {

using std::string_view_literals::operator""sv;

constexpr std::size_t fewestOfStem = 3;
constexpr std::size_t fewestBeforeIng = 4; // "string" and "bring" are no forms of anything

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool isUpper(char32_t codePoint) { return codePoint >= U'A' && codePoint <= U'Z'; }

bool isNumber(std::string_view word) {
    return !word.empty() && std::all_of(word.begin(), word.end(), isDigit);
}

bool dropEnding(std::string& word, std::string_view ending, std::size_t fewest) {
    if (!word.ends_with(ending) || word.size() < ending.size() + fewest) {
        return false;
    }
    word.resize(word.size() - ending.size());
    return true;
}

bool endsInDouble(std::string_view word) {
    static constexpr std::string_view vowels = "aeiou";
    const auto size = word.size();
    return size > fewestOfStem && word[size - 1] == word[size - 2] &&
           vowels.find(word.back()) == std::string_view::npos;
}

// Enough to make "merge", "merges", "merged" and "merging" one word; nothing else is asked of it.
void dropEndings(std::string& word) {
    if (word.size() <= fewestOfStem) {
        return;
    }
    const bool isDropped = dropEnding(word, "ing", fewestBeforeIng) ||
                           dropEnding(word, "ed", fewestOfStem) ||
                           dropEnding(word, "es", fewestOfStem);
    if (!isDropped && !word.ends_with("ss")) {
        dropEnding(word, "s", fewestOfStem);
    }
    dropEnding(word, "e", fewestOfStem);
    if (endsInDouble(word)) {
        word.pop_back();
    }
}

char withoutLookalike(char character) {
    switch (character) {
    case '0':
        return 'o';
    case '1':
    case 'i':
        return 'l';
    case '5':
        return 's';
    default:
        return character;
    }
}

std::string withoutLookalikes(std::string_view word) {
    if (isNumber(word)) {
        return std::string(word);
    }
    std::string folded;
    for (const char character : word) {
        if (character == 'n' && folded.ends_with('r')) {
            folded.back() = 'm';
        } else {
            folded += withoutLookalike(character);
        }
    }
    return folded;
}

} // namespace

std::string foldWord(std::string_view word) {
    std::string folded = toLowerText(word);
    dropEndings(folded);
    return withoutLookalikes(folded);
}

std::string foldName(std::string_view text) {
    std::string kept;
    while (!text.empty()) {
        const char32_t codePoint = takeCodePoint(text);
        if (isWordCharacter(codePoint)) {
            appendCodePoint(kept, toLower(codePoint));
        }
    }
    return withoutLookalikes(kept);
}

std::vector<std::string> foldedWordsOf(std::string_view text) {
    std::vector<std::string> words;
    std::string word;
    bool isAfterLower = false;
    const auto close = [&] {
        if (!word.empty()) {
            words.push_back(foldWord(word));
            word.clear();
        }
    };
    while (!text.empty()) {
        const char32_t codePoint = takeCodePoint(text);
        const bool isWord = isWordCharacter(codePoint) && codePoint != U'_';
        if (!isWord || (isUpper(codePoint) && isAfterLower)) {
            close();
        }
        if (isWord) {
            appendCodePoint(word, codePoint);
        }
        isAfterLower = codePoint >= U'a' && codePoint <= U'z';
    }
    close();
    return words;
}

std::size_t editDistance(std::string_view left, std::string_view right, std::size_t limit) {
    if (left.size() > right.size()) {
        std::swap(left, right);
    }
    const std::size_t beyond = limit + 1;
    if (right.size() - left.size() > limit) {
        return beyond;
    }
    // Only the band around the diagonal can stay within the limit.
    std::vector<std::size_t> row(left.size() + 1, beyond);
    for (std::size_t column = 0; column <= std::min(left.size(), limit); ++column) {
        row[column] = column;
    }
    for (std::size_t line = 1; line <= right.size(); ++line) {
        const std::size_t first = line > limit ? line - limit : 0;
        const std::size_t last = std::min(left.size(), line + limit);
        std::size_t diagonal = first > 0 ? row[first - 1] : row[0];
        std::size_t begin = first;
        if (first == 0) {
            row[0] = std::min(line, beyond);
            begin = 1;
        } else {
            row[first - 1] = beyond;
        }
        std::size_t lowest = first == 0 ? row[0] : beyond;
        for (std::size_t column = begin; column <= last; ++column) {
            const std::size_t above = column == line + limit ? beyond : row[column];
            const std::size_t same = diagonal + (left[column - 1] == right[line - 1] ? 0 : 1);
            diagonal = row[column];
            row[column] = std::min({same, above + 1, row[column - 1] + 1, beyond});
            lowest = std::min(lowest, row[column]);
        }
        if (lowest > limit) {
            return beyond;
        }
    }
    return row[left.size()];
}

} // namespace lumivane::service
