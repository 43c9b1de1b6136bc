#include "platform/linux/TextRuns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivane {

using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr QSize page(1000, 500);

/// Every character ten pixels wide.
RecognisedWord wordAt(int x, const QString& text, double confidence = 90) {
    return {text, confidence, QRect(x, 100, static_cast<int>(text.size()) * 10, 20)};
}

} // namespace

TEST(TextRuns, NoWordsGiveNoRuns) { EXPECT_THAT(textRuns({}, page), IsEmpty()); }

TEST(TextRuns, WordsWithABlankBetweenThemAreOneRun) {
    const auto runs = textRuns({wordAt(0, u"one"_qs), wordAt(40, u"two"_qs)}, page);
    ASSERT_THAT(runs, SizeIs(1));
    EXPECT_EQ(runs[0].text, u"one two"_qs);
}

TEST(TextRuns, GapOfExactlyTheLimitDoesNotCutAndOnePixelMoreDoes) {
    EXPECT_THAT(textRuns({wordAt(0, u"one"_qs), wordAt(30 + 25, u"two"_qs)}, page), SizeIs(1));
    const auto runs = textRuns({wordAt(0, u"one"_qs), wordAt(30 + 26, u"two"_qs)}, page);
    ASSERT_THAT(runs, SizeIs(2));
    EXPECT_EQ(runs[0].text, u"one"_qs);
    EXPECT_EQ(runs[1].text, u"two"_qs);
}

TEST(TextRuns, TheMedianWidthIsThatOfTheLineAndNotOfItsNeighbourWord) {
    // One wide word, a glyph of 60 pixels, does not make the gap beside it narrow.
    const RecognisedWord wide{u"W"_qs, 90, QRect(0, 100, 60, 60)};
    EXPECT_THAT(textRuns({wide, wordAt(90, u"levels"_qs), wordAt(160, u"more"_qs)}, page),
                SizeIs(2));
}

TEST(TextRuns, ConfidenceIsWeightedByCharactersAndScaledToOne) {
    const auto runs = textRuns({wordAt(0, u"abcd"_qs, 90), wordAt(50, u"ab"_qs, 30)}, page);
    ASSERT_THAT(runs, SizeIs(1));
    EXPECT_FLOAT_EQ(runs[0].confidence, 0.7F);
}

TEST(TextRuns, ConfidenceIsHeldToZeroAndOne) {
    EXPECT_EQ(textRuns({wordAt(0, u"a"_qs, 130)}, page)[0].confidence, 1);
    EXPECT_EQ(textRuns({wordAt(0, u"a"_qs, -5)}, page)[0].confidence, 0);
}

TEST(TextRuns, BoxIsNormalisedWithItsOriginAtTheBottomLeft) {
    const auto runs = textRuns({wordAt(100, u"one"_qs), wordAt(140, u"two"_qs)}, page);
    ASSERT_THAT(runs, SizeIs(1));
    EXPECT_DOUBLE_EQ(runs[0].box.x, 0.1);
    EXPECT_DOUBLE_EQ(runs[0].box.y, 1 - 120 / 500.0);
    EXPECT_DOUBLE_EQ(runs[0].box.width, 0.07);
    EXPECT_DOUBLE_EQ(runs[0].box.height, 0.04);
}

TEST(TextRuns, WordsWithoutTextAreLeftOut) {
    const auto runs =
        textRuns({wordAt(0, u"one"_qs), wordAt(35, QString()), wordAt(40, u"b"_qs)}, page);
    ASSERT_THAT(runs, SizeIs(1));
    EXPECT_EQ(runs[0].text, u"one b"_qs);
    EXPECT_THAT(textRuns({wordAt(0, QString())}, page), IsEmpty());
}

} // namespace lumivane
