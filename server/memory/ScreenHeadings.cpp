#include "server/memory/ScreenHeadings.h"

#include "server/memory/FoldedWords.h"
#include "server/text/Utf8.h"

#include <algorithm>
#include <array>

namespace lumivane::service {

namespace {

using std::string_view_literals::operator""sv;

constexpr std::size_t mostWords = 14;
constexpr std::size_t mostTitleWords = 10;
constexpr std::size_t longestPiece = 160;  // bytes
constexpr std::size_t mostExtraWords = 6;  // of a longer title
constexpr std::size_t fewestForError = 10; // letters of a title that may have lost one
constexpr std::size_t fewestForTwo = 30;

struct Line {
    std::string_view text;
    std::size_t number = 0;
};

struct Word {
    std::string text;
    bool isCapitalised = false;
};

std::vector<Word> wordsOf(std::string_view piece) {
    std::vector<Word> words;
    bool isInside = false;
    while (!piece.empty()) {
        const char32_t codePoint = takeCodePoint(piece);
        const bool isWord = isWordCharacter(codePoint);
        if (isWord && !isInside) {
            words.push_back({std::string(), toLower(codePoint) != codePoint});
        }
        if (isWord) {
            appendCodePoint(words.back().text, codePoint);
        }
        // "Kadane's" is one word.
        isInside = isWord || (isInside && (codePoint == U'\'' || codePoint == U'\u2019'));
    }
    return words;
}

bool isNumber(std::string_view word) {
    return !word.empty() && word.size() <= 4 &&
           word.find_first_not_of("0123456789") == std::string_view::npos;
}

// What stands beside titles and belongs to none of them.
bool isTrimming(std::string_view word) {
    static constexpr std::array trimmings{
        "easy"sv,     "medium"sv,   "hard"sv,     "solved"sv,   "problem"sv,
        "exercise"sv, "question"sv, "leetcode"sv, "practice"sv, "attempted"sv,
    };
    const std::string lower = toLowerText(word);
    return std::find(trimmings.begin(), trimmings.end(), lower) != trimmings.end();
}

// "1. Title", "#1 Title", "(1) Title": a bare number in front may belong to the title ("3 Sum").
bool hasNumberMark(std::string_view piece) {
    piece = trimmed(piece);
    const bool isMarkedBefore = piece.starts_with('#') || piece.starts_with('(');
    const auto digits = piece.find_first_of("0123456789");
    if (digits == std::string_view::npos) {
        return false;
    }
    auto end = std::min(piece.find_first_not_of("0123456789", digits), piece.size());
    end = std::min(piece.find_first_not_of(' ', end), piece.size());
    const bool isMarkedBehind =
        end < piece.size() && (piece[end] == '.' || piece[end] == ':' || piece[end] == ')');
    return (isMarkedBefore && digits == 1) || isMarkedBehind;
}

// "3Sum", "2D": a number is no word of a title by itself.
bool isCountWord(std::string_view word) {
    return word.find_first_of("0123456789") == 0 && !isNumber(word);
}

bool looksLikeTitle(const std::vector<Word>& words, std::string_view piece) {
    static constexpr std::string_view noTitle = "[]{}=;\"_";
    const auto last = trimmed(piece);
    if (words.empty() || words.size() > mostTitleWords || last.ends_with('.') ||
        last.ends_with(',') || piece.find_first_of(noTitle) != std::string_view::npos) {
        return false;
    }
    const auto capitals = std::count_if(words.begin(), words.end(),
                                        [](const Word& word) { return word.isCapitalised; });
    const bool beginsAsTitle = words.front().isCapitalised || isCountWord(words.front().text);
    return beginsAsTitle && static_cast<std::size_t>(capitals) * 2 >= words.size() - 1;
}

// Takes trimmings and a number off; says whether there was a number.
bool takeTrimmings(std::vector<Word>& words, bool isNumbered) {
    while (!words.empty() && isTrimming(words.back().text)) {
        words.pop_back();
    }
    while (words.size() > 1 && isTrimming(words.front().text)) {
        words.erase(words.begin());
        isNumbered = true; // "Problem 20 Title" needs no mark behind its number
    }
    if (words.size() < 2 || !isNumbered || !isNumber(words.front().text)) {
        return false;
    }
    words.erase(words.begin());
    return true;
}

void addPiece(std::string_view piece, const Line& line, std::vector<ScreenHeading>& headings) {
    if (piece.size() > longestPiece) {
        return;
    }
    std::vector<Word> words = wordsOf(piece);
    ScreenHeading heading;
    heading.line = line.number;
    heading.isNumbered = takeTrimmings(words, hasNumberMark(piece));
    if (words.empty() || words.size() > mostWords) {
        return;
    }
    heading.isTitle = looksLikeTitle(words, piece);
    for (const Word& word : words) {
        heading.words.push_back(foldName(word.text));
        heading.name += heading.words.back();
    }
    headings.push_back(std::move(heading));
}

std::vector<Line> linesOf(std::string_view text) {
    std::vector<Line> lines;
    for (std::size_t number = 0; !text.empty(); ++number) {
        const auto end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        // Only a line that could hold a title is worth a second look.
        if (line.size() <= 4 * longestPiece && hasContent(line)) {
            lines.push_back({trimmed(line), number});
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// Cells of a row, and what stands on either side of a dash or a bar, as in a window's title.
void addCells(const Line& line, std::vector<ScreenHeading>& headings) {
    static constexpr std::array gaps{"   "sv, "\t"sv,  " | "sv, " - "sv,
                                     " – "sv, " — "sv, " · "sv, ": "sv};
    std::string_view rest = line.text;
    while (!rest.empty()) {
        std::size_t end = rest.size();
        std::size_t next = rest.size();
        for (const auto gap : gaps) {
            const auto found = rest.find(gap);
            if (found < end) {
                end = found;
                next = found + gap.size();
            }
        }
        if (end != line.text.size()) {
            addPiece(rest.substr(0, end), line, headings);
        }
        rest.remove_prefix(next);
    }
}

// Words that differ in few letters and in everything else; folded as names.
bool areOpposites(std::string_view left, std::string_view right) {
    static constexpr std::array pairs{
        std::pair{"maxlmum"sv, "mlnlmum"sv},
        std::pair{"max"sv, "mln"sv},
        std::pair{"longest"sv, "shortest"sv},
        std::pair{"two"sv, "three"sv},
        std::pair{"two"sv, "k"sv},
    };
    return std::any_of(pairs.begin(), pairs.end(), [&](const auto& pair) {
        return (left == pair.first && right == pair.second) ||
               (left == pair.second && right == pair.first);
    });
}

// "3sum" and "4sum" are two exercises.
bool isCounted(std::string_view word) {
    return word.find_first_of("23456789") != std::string_view::npos;
}

bool haveOpposites(const std::vector<std::string>& left, const std::vector<std::string>& right) {
    return std::any_of(left.begin(), left.end(), [&right](const std::string& word) {
        return std::any_of(right.begin(), right.end(), [&word](const std::string& other) {
            return areOpposites(word, other) ||
                   ((isCounted(word) || isCounted(other)) && word != other);
        });
    });
}

// Whether both words are the same, a letter or two of a long one aside.
bool areSameWords(std::string_view left, std::string_view right) {
    constexpr std::size_t exact = 3;
    constexpr std::size_t oneLetter = 8;
    const auto size = std::max(left.size(), right.size());
    if (size <= exact || isCounted(left) || isCounted(right)) {
        return left == right;
    }
    const std::size_t allowed = size <= oneLetter ? 1 : 2;
    return editDistance(left, right, allowed) <= allowed;
}

// A number at the end makes another exercise of it: "II", "2".
bool isSequelMark(std::string_view word) {
    static constexpr std::array marks{"l"sv, "ll"sv, "lll"sv, "lv"sv, "v"sv, "vl"sv};
    return isNumber(word) || std::find(marks.begin(), marks.end(), word) != marks.end();
}

// The letters of a short piece against those of a title.
HeadingFit fitOfLetters(const ScreenHeading& heading, const ScreenHeading& title) {
    constexpr std::size_t lettersPerLoss = 4;
    const bool isSequel = heading.words.size() > 1 && isSequelMark(heading.words.back()) &&
                          !isSequelMark(title.words.back());
    if (isSequel || haveOpposites(heading.words, title.words)) {
        return HeadingFit::none;
    }
    // Recognition splits words and runs them together, so letters alone count as well.
    const std::size_t letters = title.name.size();
    const std::size_t allowed = letters < fewestForError ? 0 : letters < fewestForTwo ? 1 : 2;
    const std::size_t most = letters / lettersPerLoss;
    const std::size_t distance = editDistance(heading.name, title.name, most);
    if (distance <= allowed) {
        return HeadingFit::same;
    }
    return distance <= most ? HeadingFit::near : HeadingFit::none;
}

} // namespace

std::vector<ScreenHeading> headingsOf(std::string_view screenText) {
    const auto lines = linesOf(screenText);
    std::vector<ScreenHeading> headings;
    for (std::size_t index = 0; index < lines.size(); ++index) {
        std::string joined(lines[index].text);
        addPiece(joined, lines[index], headings);
        addCells(lines[index], headings);
        const std::size_t own = headings.size();
        for (std::size_t next = index + 1; next < std::min(index + 3, lines.size()); ++next) {
            joined.append(" ").append(lines[next].text);
            addPiece(joined, lines[index], headings);
        }
        for (std::size_t added = own; added < headings.size(); ++added) {
            headings[added].isJoined = true;
        }
    }
    return headings;
}

HeadingFit fitOf(const ScreenHeading& heading, const ScreenHeading& title) {
    const auto& words = heading.words;
    const std::size_t count = title.words.size();
    if (words.size() == count && !haveOpposites(words, title.words) &&
        std::equal(words.begin(), words.end(), title.words.begin(), areSameWords)) {
        return HeadingFit::same;
    }
    const HeadingFit fit = fitOfLetters(heading, title);
    if (fit != HeadingFit::none) {
        return fit;
    }
    if (words.size() <= count || words.size() > count + mostExtraWords) {
        return HeadingFit::none;
    }
    const auto found = std::search(words.begin(), words.end(), title.words.begin(),
                                   title.words.end(), areSameWords);
    if (found == words.end()) {
        return HeadingFit::none;
    }
    const bool isAtBegin = found == words.begin();
    return isAtBegin && isSequelMark(words[count]) ? HeadingFit::sequel : HeadingFit::longer;
}

} // namespace lumivane::service
