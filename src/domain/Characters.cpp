#include "domain/Characters.h"

#include <QChar>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace lumivane {

namespace {

/// Below the first combining mark every code unit is a character of its own, but for the pair of
/// carriage return and line feed. Nearly all text takes this road.
bool isOneUnitPerCharacter(QStringView text) {
    constexpr char16_t firstCombiningMark = 0x300;
    return std::all_of(text.begin(), text.end(), [](QChar unit) {
        return unit.unicode() < firstCombiningMark && unit != QChar::CarriageReturn;
    });
}

/// The offset of the boundary behind the first `count` characters.
qsizetype offsetOfCharacter(QStringView text, std::int64_t count) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype offset = 0;
    for (std::int64_t index = 0; index < count; ++index) {
        const qsizetype next = finder.toNextBoundary();
        if (next < 0) {
            return text.size();
        }
        offset = next;
    }
    return offset;
}

} // namespace

std::int64_t characterCount(QStringView text) {
    if (isOneUnitPerCharacter(text)) {
        return text.size();
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    std::int64_t count = 0;
    while (finder.toNextBoundary() > 0) {
        ++count;
    }
    return count;
}

QStringView firstCharacters(QStringView text, std::int64_t count) {
    if (count <= 0) {
        return text.first(0);
    }
    if (count >= text.size()) {
        return text; // a character is at least one code unit
    }
    return text.first(offsetOfCharacter(text, count));
}

QStringView lastCharacters(QStringView text, std::int64_t count) {
    if (count <= 0) {
        return text.last(0);
    }
    if (count >= text.size()) {
        return text;
    }
    const std::int64_t dropped = std::max<std::int64_t>(0, characterCount(text) - count);
    return text.sliced(offsetOfCharacter(text, dropped));
}

bool isLetterOrNumber(char32_t scalar) {
    switch (QChar::category(scalar)) {
    case QChar::Letter_Uppercase:
    case QChar::Letter_Lowercase:
    case QChar::Letter_Titlecase:
    case QChar::Letter_Modifier:
    case QChar::Letter_Other:
    case QChar::Number_DecimalDigit:
    case QChar::Number_Letter:
    case QChar::Number_Other:
        return true;
    default:
        return false;
    }
}

} // namespace lumivane
