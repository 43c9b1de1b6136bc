#include "domain/Characters.h"

#include <QChar>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>

namespace lumivane {

namespace {

struct UnitRange {
    char16_t first;
    char16_t last;
};

/// Code units that neither join a neighbour of this list nor stand for half of anything: a
/// character ends between any two of them. Letters, digits, punctuation and symbols of the
/// scripts that screens mostly show, without their combining marks.
constexpr std::array standingAlone{
    UnitRange{0x0000, 0x000C}, // carriage return joins a line feed
    UnitRange{0x000E, 0x02FF}, UnitRange{0x0370, 0x0482}, UnitRange{0x048A, 0x052F},
    UnitRange{0x2010, 0x205E}, UnitRange{0x20A0, 0x20CF}, UnitRange{0x2100, 0x2BFF},
    UnitRange{0x3000, 0x3029}, UnitRange{0x3030, 0x3098}, UnitRange{0x309B, 0x318F},
    UnitRange{0x3400, 0x4DBF}, UnitRange{0x4E00, 0x9FFF}, UnitRange{0xAC00, 0xD7A3},
    UnitRange{0xFF01, 0xFF9D},
};

bool standsAlone(QChar unit) {
    const char16_t code = unit.unicode();
    if (code <= standingAlone[1].last) {
        return code != u'\r';
    }
    return std::any_of(standingAlone.begin() + 2, standingAlone.end(), [code](UnitRange range) {
        return range.first <= code && code <= range.last;
    });
}

/// Whether a character ends at `offset`, above 0, for sure.
bool endsForSure(QStringView text, qsizetype offset) {
    return standsAlone(text[offset - 1]) && (offset == text.size() || standsAlone(text[offset]));
}

/// Nearly all text takes this road, and the compiler makes it a very fast one.
bool isOneUnitPerCharacter(QStringView text) {
    return std::all_of(text.begin(), text.end(), [](QChar unit) {
        return unit.unicode() <= standingAlone[1].last && unit != QChar::CarriageReturn;
    });
}

/// Walks a text from character to character. The toolkit's finder analyses a whole text at once
/// and costs far more per code unit, so it sees only the stretches that need it.
class CharacterWalk {
public:
    explicit CharacterWalk(QStringView text)
        : m_text(text) {}

    bool isAtEnd() const { return m_offset >= m_text.size(); }

    qsizetype offset() const { return m_offset; }

    void advance() {
        if (m_offset >= m_stretchEnd) {
            if (endsForSure(m_text, m_offset + 1)) {
                ++m_offset;
                return;
            }
            enterStretch();
        }
        m_offset = m_stretchBegin + m_finder.toNextBoundary();
    }

private:
    void enterStretch() {
        m_stretchBegin = m_offset;
        m_stretchEnd = m_offset + 1;
        while (m_stretchEnd < m_text.size() && !endsForSure(m_text, m_stretchEnd)) {
            ++m_stretchEnd;
        }
        m_finder =
            QTextBoundaryFinder(QTextBoundaryFinder::Grapheme,
                                m_text.sliced(m_stretchBegin, m_stretchEnd - m_stretchBegin));
    }

    QStringView m_text;
    qsizetype m_offset = 0;
    qsizetype m_stretchBegin = 0;
    qsizetype m_stretchEnd = 0;
    QTextBoundaryFinder m_finder;
};

/// The offset of the boundary behind the first `count` characters.
qsizetype offsetOfCharacter(QStringView text, std::int64_t count) {
    CharacterWalk walk(text);
    for (std::int64_t index = 0; index < count && !walk.isAtEnd(); ++index) {
        walk.advance();
    }
    return walk.offset();
}

} // namespace

std::int64_t characterCount(QStringView text) {
    if (isOneUnitPerCharacter(text)) {
        return text.size();
    }
    CharacterWalk walk(text);
    std::int64_t count = 0;
    while (!walk.isAtEnd()) {
        walk.advance();
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
    // Characters are found forwards only: an end of the text is tried that holds enough of them,
    // and a longer one where it does not.
    for (qsizetype reach = count; count < text.size(); reach *= 2) {
        qsizetype begin = std::max<qsizetype>(0, text.size() - reach);
        while (begin > 0 && !endsForSure(text, begin)) {
            --begin;
        }
        const QStringView end = text.sliced(begin);
        const std::int64_t held = characterCount(end);
        if (held >= count || begin == 0) {
            return end.sliced(offsetOfCharacter(end, std::max<std::int64_t>(0, held - count)));
        }
    }
    return text;
}

std::int64_t scalarCount(QStringView text) {
    std::int64_t count = text.size();
    for (qsizetype index = 1; index < text.size(); ++index) {
        if (text[index].isLowSurrogate() && text[index - 1].isHighSurrogate()) {
            --count;
        }
    }
    return count;
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
