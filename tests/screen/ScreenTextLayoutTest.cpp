#include "screen/ScreenTextLayout.h"

#include "domain/Characters.h"
#include "screen/TranscriptText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

namespace lumivane {

using ScreenTextLayout::accepted;
using ScreenTextLayout::transcript;

TextFragment fragment(const QString& text, const Rect& box, double confidence = 0.9) {
    return {text, confidence, box};
}

/// A fragment of its own row, far from every other.
TextFragment rowFragment(const QString& text, int row, double confidence = 0.9) {
    return {text, confidence, {0.1, row * 0.02, 0.2, 0.015}};
}

QString textOf(const std::vector<TextFragment>& fragments) { return transcript(fragments).text; }

// What is taken

TEST(TextLayout, NoFragmentsGiveTheEmptyText) {
    EXPECT_EQ(transcript({}), ScreenTextLayoutResult{});
}

TEST(TextLayout, DoubtfulFragmentsGiveTheEmptyText) {
    EXPECT_EQ(transcript({rowFragment(u"a"_qs, 0, 0.29), rowFragment(u"b"_qs, 1, 0)}),
              ScreenTextLayoutResult{});
}

TEST(TextLayout, ConfidenceAtTheFloorIsAccepted) {
    EXPECT_EQ(accepted({rowFragment(u"word"_qs, 0, 0.3)}).size(), 1U);
    EXPECT_TRUE(accepted({rowFragment(u"word"_qs, 0, std::nextafter(0.3, 0))}).empty());
    EXPECT_TRUE(
        accepted({rowFragment(u"word"_qs, 0, std::numeric_limits<double>::quiet_NaN())}).empty());
}

TEST(TextLayout, NoiseIsDroppedAndContentKept) {
    const auto isAccepted = [](const QString& text) {
        return !accepted({rowFragment(text, 0)}).empty();
    };
    EXPECT_FALSE(isAccepted(u"©"_qs));
    EXPECT_FALSE(isAccepted(u"•"_qs));
    EXPECT_FALSE(isAccepted(u"+©"_qs));
    EXPECT_FALSE(isAccepted(u"   "_qs));
    EXPECT_FALSE(isAccepted(u"\t\r\n\u00A0\u2028"_qs));
    EXPECT_FALSE(isAccepted(QString()));
    EXPECT_FALSE(isAccepted(u"!"_qs)); // not in the set
    EXPECT_FALSE(isAccepted(u"+\u0301"_qs));
    EXPECT_TRUE(isAccepted(u"+"_qs));
    EXPECT_TRUE(isAccepted(u"a©"_qs));
    EXPECT_TRUE(isAccepted(u"( ) \u00A0 ;"_qs));
    EXPECT_TRUE(isAccepted(u"7"_qs));
    EXPECT_TRUE(isAccepted(u"½"_qs));          // a number of another kind
    EXPECT_TRUE(isAccepted(u"Ⅷ"_qs));          // a letter-like number
    EXPECT_TRUE(isAccepted(u"漢"_qs));         // a letter without case
    EXPECT_TRUE(isAccepted(u"\U0001D504"_qs)); // a letter outside the first plane
    EXPECT_FALSE(isAccepted(u"\U0001F600"_qs));
    EXPECT_FALSE(isAccepted(QString(QChar(0xD800))));
}

TEST(TextLayout, EveryStandalonePunctuationStandsAlone) {
    for (const QChar character : u"?.,:;()[]{}+-=/*<>%$#@&"_qs) {
        EXPECT_EQ(accepted({rowFragment(character, 0)}).size(), 1U) << +character.unicode();
    }
    EXPECT_EQ(accepted({rowFragment(u"?.,:;()[]{}+-=/*<>%$#@&"_qs, 0)}).size(), 1U);
}

TEST(TextLayout, AcceptedKeepsOrderConfidenceAndBoxAndTrims) {
    const std::vector<TextFragment> given{fragment(u"  second \n"_qs, {0.5, 0.5, 0.1, 0.1}, 0.4),
                                          rowFragment(u"©"_qs, 3),
                                          fragment(u"\u00A0first"_qs, {0.1, 0.1, 0.1, 0.1}, 0.9)};
    const std::vector<TextFragment> expected{fragment(u"second"_qs, {0.5, 0.5, 0.1, 0.1}, 0.4),
                                             fragment(u"first"_qs, {0.1, 0.1, 0.1, 0.1}, 0.9)};
    EXPECT_EQ(accepted(given), expected);
}

// The whole page

TEST(TextLayout, FragmentsReadFromTopToBottomAndLeftToRight) {
    EXPECT_EQ(textOf({fragment(u"world"_qs, {0.16, 0.1, 0.05, 0.02}),
                      fragment(u"Below"_qs, {0.1, 0.13, 0.05, 0.02}),
                      fragment(u"Hello"_qs, {0.1, 0.1, 0.05, 0.02})}),
              u"Hello world\nBelow"_qs);
}

/// Rows of two runs each, on both sides of a gutter; eight points of a percent high.
std::vector<TextFragment> twoColumns(int rows) {
    std::vector<TextFragment> fragments;
    for (int row = 0; row < rows; ++row) {
        fragments.push_back(fragment(u"L%1"_qs.arg(row), {0, row * 0.1, 0.4, 0.08}));
        fragments.push_back(fragment(u"R%1"_qs.arg(row), {0.6, row * 0.1, 0.4, 0.08}));
    }
    return fragments;
}

TEST(TextLayout, SevenRowsStayOneColumn) {
    // The character width of these runs is 0.2, so that the gutter is no wide gap.
    EXPECT_EQ(textOf(twoColumns(7)), u"L0 R0\nL1 R1\nL2 R2\nL3 R3\nL4 R4\nL5 R5\nL6 R6"_qs);
}

TEST(TextLayout, EightRowsAreSplitIntoColumns) {
    EXPECT_EQ(textOf(twoColumns(8)), u"L0\nL1\nL2\nL3\nL4\nL5\nL6\nL7\n\n"
                                     u"R0\nR1\nR2\nR3\nR4\nR5\nR6\nR7"_qs);
}

TEST(TextLayout, ShortColumnsAreSplitByLines) {
    // Staggered rows: each side has rows of its own, so the lines have not merged.
    std::vector<TextFragment> fragments;
    for (int row = 0; row < 3; ++row) {
        fragments.push_back(fragment(u"L%1"_qs.arg(row), {0, row * 0.1, 0.4, 0.04}));
        fragments.push_back(fragment(u"R%1"_qs.arg(row), {0.6, row * 0.1 + 0.05, 0.4, 0.04}));
    }
    EXPECT_EQ(textOf(fragments), u"L0\nL1\nL2\n\nR0\nR1\nR2"_qs);
    fragments.resize(3);
    EXPECT_EQ(textOf(fragments), u"L0\nR0\nL1"_qs); // three lines never split
}

TEST(TextLayout, ThreeColumnsReadOneAfterTheOther) {
    std::vector<TextFragment> fragments;
    for (int row = 0; row < 8; ++row) {
        for (int column = 0; column < 3; ++column) {
            fragments.push_back(fragment(u"%1%2"_qs.arg(QChar(u'a' + column)).arg(row),
                                         {column * 0.4, row * 0.1, 0.2, 0.08}));
        }
    }
    EXPECT_EQ(textOf(fragments), u"a0\na1\na2\na3\na4\na5\na6\na7\n\n"
                                 u"b0\nb1\nb2\nb3\nb4\nb5\nb6\nb7\n\n"
                                 u"c0\nc1\nc2\nc3\nc4\nc5\nc6\nc7"_qs);
}

TEST(TextLayout, GridOfFourColumnsReadsAcross) {
    std::vector<TextFragment> fragments;
    for (int row = 0; row < 8; ++row) {
        for (int column = 0; column < 4; ++column) {
            fragments.push_back(fragment(u"%1%2"_qs.arg(QChar(u'a' + column)).arg(row),
                                         {column * 0.3, row * 0.1, 0.1, 0.08}));
        }
    }
    EXPECT_TRUE(textOf(fragments).startsWith(u"a0   b0   c0   d0\na1   b1"_qs));
}

TEST(TextLayout, RepeatedChromeIsThinnedOutOverTheWholePage) {
    std::vector<TextFragment> fragments;
    for (int row = 0; row < 5; ++row) {
        fragments.push_back(rowFragment(u"Reply"_qs, row * 2));
        fragments.push_back(rowFragment(u"Message %1"_qs.arg(row), row * 2 + 1));
    }
    EXPECT_EQ(textOf(fragments), u"Reply\nMessage 0\nReply\nMessage 1\nReply\nMessage 2\n"
                                 u"Message 3\nMessage 4"_qs);
}

TEST(TextLayout, InvisibleCharactersAndDecompositionsAreNormalised) {
    EXPECT_EQ(textOf({rowFragment(u"wo\u200Drd\u200B cafe\u0301"_qs, 0)}), u"word café"_qs);
}

TEST(TextLayout, LongPageIsTruncatedToExactlyTheLimit) {
    std::vector<TextFragment> fragments;
    for (int row = 0; row < 400; ++row) {
        const QString text = u"%1 "_qs.arg(row) + QString(60, QChar(u'a' + row % 26));
        fragments.push_back(fragment(text, {0, row * 0.0025, 0.5, 0.0024}));
    }
    const ScreenTextLayoutResult result = transcript(fragments);
    EXPECT_TRUE(result.truncated);
    EXPECT_EQ(characterCount(result.text), 12000);
    EXPECT_TRUE(result.text.startsWith(u"0 aaaa"_qs));
    EXPECT_TRUE(result.text.endsWith(u"jjj"_qs));
}

TEST(TextLayout, EqualBoxesKeepTheOrderGiven) {
    const Rect box{0.1, 0.1, 0.2, 0.05};
    EXPECT_EQ(
        textOf({fragment(u"one"_qs, box), fragment(u"two"_qs, box), fragment(u"six"_qs, box)}),
        u"one two six"_qs);
    const Rect flat{0.1, 0.1, 0.2, 0};
    EXPECT_EQ(textOf({fragment(u"one"_qs, flat), fragment(u"two"_qs, flat)}), u"one\ntwo"_qs);
}

// Bad input

TEST(TextLayout, BoxesThatAreNoNumbersComeLast) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(textOf({fragment(u"lost"_qs, {nan, nan, nan, nan}), rowFragment(u"b"_qs, 1),
                      rowFragment(u"a"_qs, 0)}),
              u"a\nb\nlost"_qs);
}

TEST(TextLayout, BoxesThatAreNoNumbersDoNotHideColumns) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    std::vector<TextFragment> fragments = twoColumns(8);
    fragments.insert(fragments.begin(), fragment(u"lost"_qs, {nan, nan, 1, 1}));
    fragments.push_back(fragment(u"wide"_qs, {0, 0.9, infinity, 0.05}));
    EXPECT_EQ(textOf(fragments), u"L0\nL1\nL2\nL3\nL4\nL5\nL6\nL7\nlost\n\n"
                                 u"R0\nR1\nR2\nR3\nR4\nR5\nR6\nR7\nwide"_qs);
}

TEST(TextLayout, HundredThousandFragmentsAreHeldToTheLimit) {
    std::vector<TextFragment> fragments;
    for (int index = 0; index < 100'000; ++index) {
        const int row = (index * 7919) % 100'000;
        fragments.push_back(
            fragment(QString::number(row), {0, row * 1e-5, 1, 1e-5})); // wide: worst for columns
    }
    const ScreenTextLayoutResult result = transcript(fragments);
    EXPECT_TRUE(result.truncated);
    EXPECT_EQ(characterCount(result.text), 12000);
    EXPECT_TRUE(result.text.startsWith(u"0\n1\n2\n"_qs));
    EXPECT_TRUE(result.text.endsWith(u"\n99998\n99999"_qs));
}

/// Text and boxes of all sorts, sensible and broken.
std::vector<TextFragment> anyFragments(std::mt19937& random) {
    static const std::vector<QString> pieces{u"word"_qs,
                                             u"Ünïcödé"_qs,
                                             u"漢字"_qs,
                                             u" "_qs,
                                             u"\t"_qs,
                                             u"     "_qs,
                                             u"\n"_qs,
                                             u"\r\n"_qs,
                                             u"\u200D"_qs,
                                             u"\u0301"_qs,
                                             u"\U0001F469\u200D\U0001F4BB"_qs,
                                             u"\U0001F1E6\U0001F1E9"_qs,
                                             u"\u0000"_qs,
                                             u"+"_qs,
                                             u"©"_qs,
                                             QString(QChar(0xD800)),
                                             QString(QChar(0xDFFF)),
                                             u"क्षि"_qs,
                                             u"\u2028"_qs,
                                             QString(300, u'x')};
    static const std::vector<double> numbers{0,
                                             -0.0,
                                             0.5,
                                             1,
                                             -1,
                                             1e-9,
                                             1e9,
                                             1e300,
                                             -1e300,
                                             5e-324,
                                             std::numeric_limits<double>::quiet_NaN(),
                                             std::numeric_limits<double>::infinity(),
                                             -std::numeric_limits<double>::infinity()};
    std::uniform_real_distribution<double> fraction(0, 1);
    const auto number = [&] {
        return random() % 12 == 0 ? numbers[random() % numbers.size()] : fraction(random);
    };
    std::vector<TextFragment> fragments(random() % 400);
    for (TextFragment& entry : fragments) {
        for (std::size_t count = random() % 6; count > 0; --count) {
            entry.text += pieces[random() % pieces.size()];
        }
        entry.confidence = number();
        entry.box = {number(), number(), number() * 0.2, number() * 0.1};
    }
    return fragments;
}

TEST(TextLayout, AnyFragmentsKeepThePromises) {
    std::mt19937 random(23);
    for (int round = 0; round < 150; ++round) {
        const std::vector<TextFragment> fragments = anyFragments(random);
        const ScreenTextLayoutResult result = transcript(fragments);
        ASSERT_LE(characterCount(result.text), ScreenTextLayout::maximumCharacters);
        ASSERT_TRUE(std::none_of(result.text.begin(), result.text.end(), [](QChar unit) {
            return ScreenTextLayout::isDiscardable(unit.unicode());
        }));
        ASSERT_FALSE(result.text.startsWith(u'\n') || result.text.endsWith(u'\n'));
        ASSERT_FALSE(result.text.contains(u"\n\n\n\n"_qs));
        ASSERT_FALSE(result.text.contains(u'\t') || result.text.contains(u"    "_qs));
        ASSERT_EQ(transcript(fragments), result) << "round " << round;
        ASSERT_EQ(textOf(accepted(fragments)), result.text) << "round " << round;
    }
}

} // namespace lumivane
