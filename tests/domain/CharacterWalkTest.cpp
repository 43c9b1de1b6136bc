#include "domain/Characters.h"

#include <QTextBoundaryFinder>

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace lumivane {

/// The count by the toolkit's own analysis of the whole text.
std::int64_t wholeCount(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    std::int64_t count = 0;
    while (finder.toNextBoundary() > 0) {
        ++count;
    }
    return count;
}

TEST(CharacterWalk, EveryCodeUnitBesideTypicalNeighboursCountsAsInTheWhole) {
    constexpr std::array<char16_t, 11> neighbours{u'a',  0xA9,  0x4E00, 0xAC00, 0x3042, 0x2764,
                                                  u'\n', 0x430, 0xD7A3, 0xAC01, 0xFF76};
    for (int unit = 0; unit <= 0xFFFF; ++unit) {
        for (const char16_t neighbour : neighbours) {
            const QString before = QString(QChar(neighbour)) + QChar(unit);
            const QString after = QString(QChar(unit)) + QChar(neighbour);
            ASSERT_EQ(characterCount(before), wholeCount(before)) << unit << ' ' << +neighbour;
            ASSERT_EQ(characterCount(after), wholeCount(after)) << unit << ' ' << +neighbour;
        }
    }
}

/// Text of many scripts, marks where they belong and where they do not.
QString anyText(std::mt19937& random, std::size_t pieces) {
    static const std::array parts{
        u"a"_qs,          u"7"_qs,          u" "_qs,          u"\n"_qs,
        u"\r"_qs,         u"\r\n"_qs,       u"\u0301"_qs,     u"\u200D"_qs,
        u"\uFE0F"_qs,     u"\u20E3"_qs,     u"©"_qs,          u"❤"_qs,
        u"—"_qs,          u"漢"_qs,         u"か"_qs,         u"\u3099"_qs,
        u"가"_qs,         u"\u1100"_qs,     u"\u1161"_qs,     u"\u11A8"_qs,
        u"Ж"_qs,          u"\u0483"_qs,     u"\u0600"_qs,     u"سلام"_qs,
        u"\U0001F469"_qs, u"\U0001F3FB"_qs, u"\U0001F1E6"_qs, u"\U0001F469\u200D\U0001F4BB"_qs};
    QString text;
    for (std::size_t piece = 0; piece < pieces; ++piece) {
        text += parts[random() % parts.size()];
    }
    return text;
}

TEST(CharacterWalk, AnyTextCountsAsInTheWhole) {
    std::mt19937 random(5);
    for (int round = 0; round < 20'000; ++round) {
        const QString text = anyText(random, random() % 16);
        ASSERT_EQ(characterCount(text), wholeCount(text)) << text.toStdString();
    }
}

TEST(CharacterWalk, FirstAndLastPartTheTextBetweenCharacters) {
    std::mt19937 random(6);
    for (int round = 0; round < 5'000; ++round) {
        const QString text = anyText(random, random() % 40);
        const std::int64_t length = characterCount(text);
        const std::int64_t head = length == 0 ? 0 : static_cast<std::int64_t>(random()) % length;
        const QStringView first = firstCharacters(text, head);
        const QStringView last = lastCharacters(text, length - head);
        ASSERT_EQ(first.toString() + last.toString(), text);
        ASSERT_EQ(characterCount(first), head);
    }
}

TEST(CharacterWalk, LastOfAnEndOfWideCharactersReachesFarEnough) {
    const QString text = u"x"_qs.repeated(50) + u"\U0001F469\u200D\U0001F4BB"_qs.repeated(100);
    EXPECT_EQ(lastCharacters(text, 100).size(), 500);
    EXPECT_EQ(lastCharacters(text, 101).size(), 501);
    EXPECT_EQ(lastCharacters(text, 150), text);
    EXPECT_EQ(lastCharacters(text, 151), text);
    EXPECT_EQ(lastCharacters(text, 0).size(), 0);
    EXPECT_EQ(lastCharacters(text, -1).size(), 0);
    EXPECT_EQ(lastCharacters(u"abc"_qs, 2), u"bc"_qs);
}

} // namespace lumivane
