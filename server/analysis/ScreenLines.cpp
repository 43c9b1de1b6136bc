#include "server/analysis/ScreenLines.h"

#include "server/analysis/ScreenWords.h"
#include "server/text/Utf8.h"

#include <algorithm>
#include <array>

namespace lumivane::service {

namespace {

using std::string_view_literals::operator""sv;

constexpr std::size_t wordsOfCell = 4;    // a cell from here on is content
constexpr std::size_t wordsOfWrapped = 5; // a line from here on may go on in the next
constexpr double wrappedShare = 0.65;     // of the block's longest line

struct Line {
    std::string text;
    SentenceKind kind = SentenceKind::prose;
    bool startsItem = false;
    bool isComment = false;
    std::size_t length = 0; // code points
};

bool isInvisible(char32_t codePoint) {
    return (codePoint < 0x20 && codePoint != U'\t') || (codePoint >= 0x7F && codePoint <= 0x9F) ||
           (codePoint >= 0x200B && codePoint <= 0x200F) ||
           (codePoint >= 0x2028 && codePoint <= 0x202E) ||
           (codePoint >= 0x2060 && codePoint <= 0x2064) || codePoint == 0xFEFF ||
           codePoint == 0xFFFD;
}

std::string visible(std::string_view line) {
    std::string text;
    while (!line.empty()) {
        const char32_t codePoint = takeCodePoint(line);
        if (!isInvisible(codePoint)) {
            appendCodePoint(text, codePoint == U'\t' ? U' ' : codePoint);
        }
    }
    return std::string(trimmed(text));
}

// Constant time per step, where a trim would look at the whole rest each time.
std::string_view withoutLeadingBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

// The cells of a row, which a transcript sets apart by three blanks or more.
std::vector<std::string_view> cellsOf(std::string_view line) {
    std::vector<std::string_view> cells;
    while (!line.empty()) {
        const auto gap = line.find("   ");
        cells.push_back(trimmed(line.substr(0, gap)));
        line.remove_prefix(std::min(gap, line.size()));
        line = withoutLeadingBlanks(line);
    }
    return cells;
}

// Enough words, counts and positions aside.
bool isContentCell(std::string_view cell) {
    const auto hasDigit = [](const std::string& word) {
        return word.find_first_of("0123456789") != std::string::npos;
    };
    const auto words = wordsOf(cell);
    const auto counts = std::count_if(words.begin(), words.end(), hasDigit);
    return readingWords(cell) >= wordsOfCell + static_cast<std::size_t>(counts);
}

std::string rowText(std::string_view line) {
    const auto cells = cellsOf(line);
    if (cells.size() < 2) {
        return std::string(line);
    }
    std::string row;
    bool hasContentCell = false;
    for (const std::string_view cell : cells) {
        row.append(row.empty() ? "" : ", ").append(cell);
        hasContentCell = hasContentCell || isContentCell(cell);
    }
    if (!hasContentCell && timeMention(wordsOf(row)) != TimeMention::deadline) {
        row.clear();
    }
    return row;
}

// "name@host:~/folder$ command", "$ command", "C:\> command": what was typed, not what came of it.
bool isPrompt(std::string_view line) {
    if (line.starts_with("$ ") || line.starts_with("% ")) {
        return true;
    }
    const auto end = line.find_first_of("$#>");
    if (end == std::string_view::npos || end > 80) {
        return false;
    }
    const std::string_view head = line.substr(0, end);
    const bool hasBlank = head.find(' ') != std::string_view::npos;
    const bool namesPlace =
        head.find('@') != std::string_view::npos || head.find(":\\") != std::string_view::npos;
    const bool endsHere = end + 1 == line.size() || line[end + 1] == ' ';
    return namesPlace && endsHere && (!hasBlank || head.front() == '[');
}

bool isPathOrAddress(std::string_view word) {
    if (word.find('@') != std::string_view::npos || word.find("://") != std::string_view::npos ||
        word.starts_with("www.")) {
        return true;
    }
    const auto separators =
        std::count(word.begin(), word.end(), '/') + std::count(word.begin(), word.end(), '\\');
    return separators >= 2 || (separators == 1 && (word.front() == '/' || word.front() == '~'));
}

// A line most of whose length is paths or addresses.
bool isPlaceLine(std::string_view line) {
    std::size_t places = 0;
    std::string_view rest = line;
    while (!rest.empty()) {
        const auto end = std::min(rest.find(' '), rest.size());
        const std::string_view word = rest.substr(0, end);
        places += !word.empty() && isPathOrAddress(word) ? word.size() : 0;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return places * 2 > line.size();
}

bool takePrefix(std::string_view& line, std::string_view prefix) {
    if (!line.starts_with(prefix)) {
        return false;
    }
    line = withoutLeadingBlanks(line.substr(prefix.size()));
    return true;
}

bool takeNumbering(std::string_view& line) {
    const auto end = line.find_first_not_of("0123456789");
    if (end == 0 || end == std::string_view::npos || end > 2) {
        return false;
    }
    if ((line[end] != '.' && line[end] != ')') || end + 1 >= line.size() || line[end + 1] != ' ') {
        return false;
    }
    line = withoutLeadingBlanks(line.substr(end + 1));
    return true;
}

// Takes marks of lists, comments and headings off; true when the line begins something new.
bool takeItemMarks(std::string_view& line) {
    static constexpr std::array marks{
        "- "sv,   "* "sv, "• "sv, "– "sv, "— "sv, "+ "sv,   "[ ] "sv,
        "[x] "sv, "☐ "sv, "☑ "sv, "· "sv, "▪ "sv, "### "sv, "## "sv,
    };
    bool isItem = false;
    for (const auto mark : marks) {
        isItem = takePrefix(line, mark) || isItem;
    }
    return takeNumbering(line) || isItem;
}

bool takeCommentMarks(std::string_view& line) {
    static constexpr std::array marks{"///"sv,    "//!"sv, "//"sv,  "/**"sv, "/*"sv,
                                      "\"\"\""sv, "# "sv,  "-- "sv, "<!--"sv};
    bool isComment = false;
    for (const auto mark : marks) {
        isComment = isComment || takePrefix(line, mark);
    }
    for (const auto mark : {"*/"sv, "\"\"\""sv, "-->"sv}) {
        if (isComment && line.ends_with(mark)) {
            line = trimmed(line.substr(0, line.size() - mark.size()));
        }
    }
    return isComment;
}

// "Subject: Spring fair", "Status: Open": a form's entry goes on from no other line.
bool beginsWithLabel(std::string_view line) {
    const auto colon = line.find(": ");
    return colon != std::string_view::npos && colon > 0 && colon <= 20 &&
           std::count(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(colon), ' ') <= 1;
}

bool isClock(std::string_view word) {
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    return word.size() >= 8 && isDigit(word[0]) && isDigit(word[1]) && word[2] == ':' &&
           isDigit(word[3]) && isDigit(word[4]) && word[5] == ':';
}

// A line of a log has a time of day to the second among its first words; a row of a list begins
// with a key, "LUM-31".
bool beginsAsEntry(std::string_view line) {
    constexpr std::size_t wordsOfStamp = 3;
    const auto firstEnd = std::min(line.find(' '), line.size());
    const std::string_view key = line.substr(0, firstEnd);
    const auto dash = key.find('-');
    const bool isKey =
        dash != std::string_view::npos && dash >= 1 && dash + 1 < key.size() &&
        key.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789") == dash &&
        key.substr(dash + 1).find_first_not_of("0123456789") == std::string_view::npos;
    if (isKey) {
        return true;
    }
    for (std::size_t word = 0; word < wordsOfStamp && !line.empty(); ++word) {
        const auto end = std::min(line.find(' '), line.size());
        std::string_view text = line.substr(0, end);
        text.remove_prefix(std::min(text.find_first_not_of("["), text.size()));
        if (isClock(text) || (text.find('T') == 10 && isClock(text.substr(11)))) {
            return true;
        }
        line = withoutLeadingBlanks(line.substr(end));
    }
    return false;
}

Line readLine(std::string_view raw) {
    Line line;
    const std::string seen = visible(raw);
    std::string_view rest = seen;
    while (takePrefix(rest, ">")) {
        line.kind = SentenceKind::quoted;
    }
    if (rest.empty() || isPrompt(rest) || isPlaceLine(rest) || rest.starts_with("[\u2026 ")) {
        return line;
    }
    line.isComment = takeCommentMarks(rest);
    line.startsItem = takeItemMarks(rest) || beginsWithLabel(rest) || beginsAsEntry(rest);
    line.text = rowText(rest);
    if (!line.isComment && line.kind == SentenceKind::prose && isCodeLike(line.text)) {
        line.kind = SentenceKind::code;
    }
    line.length = countCodePoints(line.text);
    return line;
}

bool endsSentence(std::string_view text) {
    for (const auto mark : {"."sv, "!"sv, "?"sv, ":"sv, "…"sv, "。"sv, "！"sv, "？"sv}) {
        if (text.ends_with(mark)) {
            return true;
        }
    }
    return false;
}

bool beginsLower(std::string_view text) {
    const char32_t first = takeCodePoint(text);
    return (first >= U'a' && first <= U'z') || (first >= 0xDF && first <= 0xFF && first != 0xF7) ||
           (first >= 0x3B1 && first <= 0x3C9) || (first >= 0x430 && first <= 0x45F);
}

// Whether `next` goes on where `last` was wrapped at the edge of a column of `width`.
bool goesOn(const Line& last, const Line& next, std::size_t width) {
    // A row that stands there twice goes on from nothing.
    if (next.startsItem || next.text == last.text || last.kind != next.kind ||
        last.isComment != next.isComment || last.kind == SentenceKind::code) {
        return false;
    }
    if (readingWords(last.text) < wordsOfWrapped) {
        return false;
    }
    const bool fillsColumn =
        static_cast<double>(last.length) >= wrappedShare * static_cast<double>(width);
    if (endsSentence(last.text)) {
        return fillsColumn && beginsLower(next.text);
    }
    return beginsLower(next.text) || fillsColumn;
}

void appendBlock(const std::vector<Line>& block, std::vector<ScreenPassage>& passages) {
    std::size_t width = 0;
    for (const Line& line : block) {
        width = std::max(width, line.length);
    }
    for (std::size_t index = 0; index < block.size(); ++index) {
        if (index > 0 && goesOn(block[index - 1], block[index], width)) {
            passages.back().text.append(" ").append(block[index].text);
        } else {
            passages.push_back({block[index].text, block[index].kind});
        }
    }
}

} // namespace

bool isCodeLike(std::string_view line) {
    static constexpr std::array signs{"=>"sv, "::"sv,  " == "sv, " != "sv, "&&"sv, "||"sv,
                                      "()"sv, " = "sv, "});"sv,  "->"sv,   "</"sv, "/>"sv};
    static constexpr std::string_view symbols = "{}[]()<>=;|&$\\_*+@#^~`";
    if (line.empty()) {
        return false;
    }
    const std::string_view last = line.substr(line.size() - 1);
    if (last == "{" || last == "}" || last == ";" || last == "\\") {
        return true;
    }
    const auto holds = [line](std::string_view sign) {
        return line.find(sign) != std::string_view::npos;
    };
    if (std::any_of(signs.begin(), signs.end(), holds)) {
        return true;
    }
    const bool opensBlock =
        last == ":" &&
        (line.starts_with("def ") || line.starts_with("class ") || line.starts_with("if ") ||
         line.starts_with("for ") || line.starts_with("while ") || line == "else:");
    const auto isSymbol = [](char character) {
        return symbols.find(character) != std::string_view::npos;
    };
    const auto marks = std::count_if(line.begin(), line.end(), isSymbol);
    return opensBlock || static_cast<std::size_t>(marks) * 6 > line.size() ||
           line.starts_with("File \"") || (line.starts_with("from ") && holds(" import ")) ||
           line.starts_with("import ") || line.starts_with("#include");
}

std::vector<ScreenPassage> passagesOf(std::string_view transcript) {
    std::vector<ScreenPassage> passages;
    std::vector<Line> block;
    const auto close = [&] {
        appendBlock(block, passages);
        block.clear();
    };
    while (!transcript.empty()) {
        const auto end = std::min(transcript.find('\n'), transcript.size());
        Line line = readLine(transcript.substr(0, end));
        transcript.remove_prefix(std::min(end + 1, transcript.size()));
        if (line.text.empty()) {
            close();
        } else {
            block.push_back(std::move(line));
        }
    }
    close();
    return passages;
}

} // namespace lumivane::service
