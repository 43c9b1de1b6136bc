#include "server/text/Utf8.h"

#include <algorithm>
#include <array>

namespace lumivane::service {

namespace {

constexpr char32_t replacement = 0xFFFD;

struct Range {
    char32_t first;
    char32_t last;

    bool contains(char32_t codePoint) const { return first <= codePoint && codePoint <= last; }
};

// Punctuation, symbols, controls and private use from U+0080 on. What is in none of these counts
// as part of a word.
constexpr std::array noWord{
    Range{0x0080, 0x00A9}, Range{0x00AB, 0x00B1}, Range{0x00B4, 0x00B4},   Range{0x00B6, 0x00B8},
    Range{0x00BB, 0x00BB}, Range{0x00BF, 0x00BF}, Range{0x00D7, 0x00D7},   Range{0x00F7, 0x00F7},
    Range{0x055A, 0x055F}, Range{0x060C, 0x060D}, Range{0x061B, 0x061F},   Range{0x0964, 0x0965},
    Range{0x2000, 0x206F}, Range{0x20A0, 0x20CF}, Range{0x2190, 0x2BFF},   Range{0x2E00, 0x2E7F},
    Range{0x3000, 0x3004}, Range{0x3008, 0x3020}, Range{0xE000, 0xF8FF},   Range{0xFE10, 0xFE1F},
    Range{0xFE30, 0xFE6F}, Range{0xFF00, 0xFF0F}, Range{0xFF1A, 0xFF20},   Range{0xFF3B, 0xFF40},
    Range{0xFF5B, 0xFF65}, Range{0xFFE0, 0xFFFF}, Range{0x1F000, 0x1FAFF}, Range{0xE0000, 0x10FFFF},
};

constexpr std::array ideographic{
    Range{0x3005, 0x3007}, Range{0x3040, 0x30FF}, Range{0x3400, 0x4DBF},   Range{0x4E00, 0x9FFF},
    Range{0xAC00, 0xD7AF}, Range{0xF900, 0xFAFF}, Range{0x20000, 0x323AF},
};

template <std::size_t count>
bool isIn(const std::array<Range, count>& ranges, char32_t codePoint) {
    const auto holds = [codePoint](const Range& range) { return range.contains(codePoint); };
    return std::any_of(ranges.begin(), ranges.end(), holds);
}

// What belongs to the character before it: marks, joiners, variation selectors, skin tones.
bool extendsCharacter(char32_t codePoint) {
    static constexpr std::array extending{
        Range{0x0300, 0x036F}, Range{0x200D, 0x200D},   Range{0x20D0, 0x20F0},
        Range{0xFE00, 0xFE0F}, Range{0x1F3FB, 0x1F3FF},
    };
    return isIn(extending, codePoint);
}

std::size_t lengthOfSequence(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead < 0xE0) {
        return 2;
    }
    if (lead >= 0xE0 && lead < 0xF0) {
        return 3;
    }
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

} // namespace

char32_t takeCodePoint(std::string_view& rest) {
    const auto lead = static_cast<unsigned char>(rest.front());
    const std::size_t length = lengthOfSequence(lead);
    if (length <= 1 || length > rest.size()) {
        rest.remove_prefix(1);
        return length == 1 ? lead : replacement;
    }
    char32_t value = lead & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index) {
        const auto next = static_cast<unsigned char>(rest[index]);
        if ((next & 0xC0U) != 0x80U) {
            rest.remove_prefix(1);
            return replacement;
        }
        value = (value << 6U) | (next & 0x3FU);
    }
    rest.remove_prefix(length);
    return value;
}

void appendCodePoint(std::string& text, char32_t codePoint) {
    const auto byte = [&text](char32_t value) { text.push_back(static_cast<char>(value)); };
    if (codePoint < 0x80) {
        byte(codePoint);
    } else if (codePoint < 0x800) {
        byte(0xC0U | (codePoint >> 6U));
        byte(0x80U | (codePoint & 0x3FU));
    } else if (codePoint < 0x10000) {
        byte(0xE0U | (codePoint >> 12U));
        byte(0x80U | ((codePoint >> 6U) & 0x3FU));
        byte(0x80U | (codePoint & 0x3FU));
    } else {
        byte(0xF0U | (codePoint >> 18U));
        byte(0x80U | ((codePoint >> 12U) & 0x3FU));
        byte(0x80U | ((codePoint >> 6U) & 0x3FU));
        byte(0x80U | (codePoint & 0x3FU));
    }
}

std::size_t countCodePoints(std::string_view text) {
    std::size_t count = 0;
    while (!text.empty()) {
        takeCodePoint(text);
        ++count;
    }
    return count;
}

bool isWordCharacter(char32_t codePoint) {
    if (codePoint < 0x80) {
        return (codePoint >= U'0' && codePoint <= U'9') ||
               (codePoint >= U'a' && codePoint <= U'z') || (codePoint >= U'A' && codePoint <= U'Z');
    }
    return !isIn(noWord, codePoint);
}

bool isIdeographic(char32_t codePoint) { return isIn(ideographic, codePoint); }

bool isSpace(char32_t codePoint) {
    return codePoint == U' ' || (codePoint >= 0x09 && codePoint <= 0x0D) || codePoint == 0x85 ||
           codePoint == 0xA0 || (codePoint >= 0x2000 && codePoint <= 0x200A) ||
           codePoint == 0x2028 || codePoint == 0x2029 || codePoint == 0x202F ||
           codePoint == 0x205F || codePoint == 0x3000;
}

char32_t toLower(char32_t codePoint) {
    const bool isLatin1 = codePoint >= 0xC0 && codePoint <= 0xDE && codePoint != 0xD7;
    const bool isGreek = codePoint >= 0x391 && codePoint <= 0x3A9;
    const bool isCyrillic = codePoint >= 0x410 && codePoint <= 0x42F;
    if ((codePoint >= U'A' && codePoint <= U'Z') || isLatin1 || isGreek || isCyrillic) {
        return codePoint + 0x20;
    }
    if (codePoint >= 0x400 && codePoint <= 0x40F) {
        return codePoint + 0x50;
    }
    if (codePoint >= 0x531 && codePoint <= 0x556) {
        return codePoint + 0x30;
    }
    const bool isEvenUpper = (codePoint >= 0x100 && codePoint <= 0x137) ||
                             (codePoint >= 0x14A && codePoint <= 0x177) ||
                             (codePoint >= 0x460 && codePoint <= 0x481);
    const bool isOddUpper =
        (codePoint >= 0x139 && codePoint <= 0x148) || (codePoint >= 0x179 && codePoint <= 0x17E);
    if ((isEvenUpper && codePoint % 2 == 0) || (isOddUpper && codePoint % 2 == 1)) {
        return codePoint + 1;
    }
    return codePoint;
}

std::string toLowerText(std::string_view text) {
    std::string lower;
    lower.reserve(text.size());
    while (!text.empty()) {
        appendCodePoint(lower, toLower(takeCodePoint(text)));
    }
    return lower;
}

std::string_view trimmed(std::string_view text) {
    std::size_t first = text.size();
    std::size_t last = 0;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t begin = text.size() - rest.size();
        if (!isSpace(takeCodePoint(rest))) {
            first = std::min(first, begin);
            last = text.size() - rest.size();
        }
    }
    return first < last ? text.substr(first, last - first) : std::string_view{};
}

bool hasContent(std::string_view text) {
    while (!text.empty()) {
        if (!isSpace(takeCodePoint(text))) {
            return true;
        }
    }
    return false;
}

std::string shortened(std::string_view text, std::size_t limit) {
    std::string_view rest = text;
    std::size_t count = 0;
    std::size_t cut = 0;   // end of the last whole character that leaves room for the mark
    std::size_t blank = 0; // the last blank before it
    std::size_t blankCount = 0;
    while (!rest.empty() && count < limit) {
        const std::size_t begin = text.size() - rest.size();
        const char32_t codePoint = takeCodePoint(rest);
        if (!extendsCharacter(codePoint)) {
            cut = begin;
        }
        if (isSpace(codePoint)) {
            blank = begin;
            blankCount = count;
        }
        ++count;
    }
    if (rest.empty()) {
        return std::string(text);
    }
    const std::size_t end = blankCount * 2 >= limit ? blank : cut;
    return std::string(trimmed(text.substr(0, end))) + "\u2026";
}

} // namespace lumivane::service
