#include "domain/Characters.h"

#include <gtest/gtest.h>

#include <string_view>

namespace lumivane {

namespace {

const QString family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466"_qs;

} // namespace

TEST(CharacterCount, CountsGraphemeClusters) {
    const struct {
        QStringView text;
        std::int64_t count;
    } rows[] = {
        {u"", 0},
        {u"a", 1},
        {u"plain text", 10},
        {u"caf\u00E9", 4},
        {u"cafe\u0301", 4},
        {u"a\u0308\u0301\u0323", 1},
        {family, 1},
        {u"\U0001F44D\U0001F3FD", 1},
        {u"\U0001F600\U0001F600", 2},
        {u"\u2764\uFE0F\u200D\U0001F525", 1},
        {u"1\uFE0F\u20E3", 1},
        {u"\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7", 2},
        {u"\U0001F1E9\U0001F1EA\U0001F1EB", 2},
        {u"\U0001F3F4\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F", 1},
        {u"a\u200Db", 2},
        {u"\u1100\u1161\u11A8", 1},
        {u"\u65E5\u672C\u8A9E", 3},
        {u"\u0E01\u0E33", 1},
        {u"\u0301", 1},
    };

    for (const auto& row : rows) {
        EXPECT_EQ(characterCount(row.text), row.count) << row.text.toString().toStdString();
    }
}

TEST(CharacterCount, CarriageReturnAndLineFeedAreOneCharacter) {
    EXPECT_EQ(characterCount(u"\r\n"), 1);
    EXPECT_EQ(characterCount(u"a\r\nb"), 3);
    EXPECT_EQ(characterCount(u"\n\r"), 2);
    EXPECT_EQ(characterCount(u"\r\r\n\n"), 3);
    EXPECT_EQ(characterCount(u"\n\n"), 2);
}

TEST(CharacterCount, TheQuickRoadAndTheLongOneAgreeOnEachSingleUnit) {
    // Behind a combining mark everything takes the long road.
    for (char16_t unit = 1; unit < 0x300; ++unit) {
        const QString one(1, QChar(unit));
        EXPECT_EQ(characterCount(one), 1) << static_cast<int>(unit);
        EXPECT_EQ(characterCount(QString(one + one + u"e\u0301"_qs)), 3) << static_cast<int>(unit);
    }
}

TEST(CharacterCount, BrokenPairsAreCountedAndDoNotHang) {
    const QString lone(1, QChar(0xD83D));
    EXPECT_EQ(characterCount(lone), 1);
    EXPECT_EQ(characterCount(QString(u"a"_qs + lone + u"b"_qs)), 3);
}

TEST(FirstCharacters, CutsBetweenClusters) {
    const QString text = family + u"e\u0301\r\nx"_qs;
    EXPECT_EQ(firstCharacters(text, 1), family);
    EXPECT_EQ(firstCharacters(text, 2), family + u"e\u0301"_qs);
    EXPECT_EQ(firstCharacters(text, 3), family + u"e\u0301\r\n"_qs);
    EXPECT_EQ(firstCharacters(text, 4), text);
    EXPECT_EQ(firstCharacters(text, 5), text);
    EXPECT_EQ(firstCharacters(text, 1000), text);
}

TEST(FirstCharacters, OfNothingAndOfNone) {
    EXPECT_TRUE(firstCharacters(u"", 5).isEmpty());
    EXPECT_TRUE(firstCharacters(u"abc", 0).isEmpty());
    EXPECT_TRUE(firstCharacters(u"abc", -1).isEmpty());
    EXPECT_EQ(firstCharacters(u"abc", 2), u"ab");
    EXPECT_EQ(firstCharacters(u"abc", 3), u"abc");
}

TEST(LastCharacters, CutsBetweenClusters) {
    const QString text = u"x\r\ne\u0301"_qs + family;
    EXPECT_EQ(lastCharacters(text, 1), family);
    EXPECT_EQ(lastCharacters(text, 2), u"e\u0301"_qs + family);
    EXPECT_EQ(lastCharacters(text, 3), u"\r\ne\u0301"_qs + family);
    EXPECT_EQ(lastCharacters(text, 4), text);
    EXPECT_EQ(lastCharacters(text, 5), text);
    EXPECT_EQ(lastCharacters(text, 1000), text);
}

TEST(LastCharacters, OfNothingAndOfNone) {
    EXPECT_TRUE(lastCharacters(u"", 5).isEmpty());
    EXPECT_TRUE(lastCharacters(u"abc", 0).isEmpty());
    EXPECT_TRUE(lastCharacters(u"abc", -1).isEmpty());
    EXPECT_EQ(lastCharacters(u"abc", 2), u"bc");
    EXPECT_EQ(lastCharacters(u"abc", 3), u"abc");
}

TEST(ScalarCount, CountsPairsOnceAndHalvesToo) {
    EXPECT_EQ(scalarCount(u""), 0);
    EXPECT_EQ(scalarCount(u"a\u0301"), 2);
    EXPECT_EQ(scalarCount(u"\U0001F468\u200D\U0001F469"), 3);
    const QChar high(0xD83D);
    const QChar low(0xDE00);
    EXPECT_EQ(scalarCount(QString(high)), 1);
    EXPECT_EQ(scalarCount(QString(low) + high), 2);
    EXPECT_EQ(scalarCount(QString(high) + high + low + low), 3);
}

TEST(IsLetterOrNumber, FollowsTheGeneralCategories) {
    // Lu, Ll, Lt, Lm, Lo, Nd, Nl, No, and two beyond 16 bits.
    for (const char32_t scalar : {U'A', U'z', U'\u01C5', U'\u02B0', U'\u3042', U'7', U'\u2167',
                                  U'\u00BD', U'\U00010400', U'\U0001D7D9'}) {
        EXPECT_TRUE(isLetterOrNumber(scalar)) << static_cast<std::uint32_t>(scalar);
    }
    // Mn, Mc, Pd, Pc, Po, Sm, Sc, So, Zs, Cc, Cn, Cs.
    for (const char32_t scalar : {U'\u0301', U'\u0903', U'-', U'_', U'!', U'+', U'$', U'\U0001F600',
                                  U' ', U'\n', U'\u0378', static_cast<char32_t>(0xD800)}) {
        EXPECT_FALSE(isLetterOrNumber(scalar)) << static_cast<std::uint32_t>(scalar);
    }
}

} // namespace lumivane
