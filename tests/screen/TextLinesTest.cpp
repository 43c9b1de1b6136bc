#include "screen/TextLines.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace lumivane::ScreenTextLayout {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

std::vector<QString> texts(const std::vector<LayoutLine>& lines) {
    std::vector<QString> result;
    for (const LayoutLine& line : lines) {
        result.push_back(line.text);
    }
    return result;
}

LayoutLine line(const QString& text, double y, double height) { return {text, {0, y, 1, height}}; }

// One line

TEST(TextLines, OverlapOfExactlyHalfIsTwoLines) {
    EXPECT_FALSE(sharesLine({0, 0, 1, 1}, {0, 0.5, 1, 1}));
    EXPECT_TRUE(sharesLine({0, 0, 1, 1}, {0, 0.5 - 1e-12, 1, 1}));
}

TEST(TextLines, OverlapIsMeasuredByTheShorter) {
    EXPECT_TRUE(sharesLine({0, 0, 1, 10}, {0, 9.25, 1, 1}));
    EXPECT_FALSE(sharesLine({0, 0, 1, 10}, {0, 9.5, 1, 1}));
    EXPECT_TRUE(sharesLine({0, 9.25, 1, 1}, {0, 0, 1, 10}));
}

TEST(TextLines, ApartOrWithoutHeightIsNoLine) {
    EXPECT_FALSE(sharesLine({0, 0, 1, 1}, {0, 1, 1, 1}));
    EXPECT_FALSE(sharesLine({0, 0, 1, 1}, {0, 5, 1, 1}));
    EXPECT_FALSE(sharesLine({0, 0, 1, 1}, {0, 0.5, 1, 0}));
    EXPECT_FALSE(sharesLine({0, 0, 1, 1}, {0, 0.5, 1, -0.2}));
    EXPECT_FALSE(sharesLine({0, 0, 1, nan}, {0, 0, 1, 1}));
    EXPECT_FALSE(sharesLine({0, nan, 1, 1}, {0, 0, 1, 1}));
}

TEST(TextLines, LaterFragmentsAreJudgedAgainstTheWholeRow) {
    // The last one overlaps the tall first but not the small one before it.
    const auto lines = groupIntoLines({{u"tall", {0, 0, 0.1, 1}},
                                       {u"high", {0.2, 0.1, 0.1, 0.1}},
                                       {u"low", {0.4, 0.8, 0.1, 0.1}}});
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines.front().box, (Rect{0, 0, 0.5, 1}));
}

TEST(TextLines, RowBoxGrowsAsTheRowFills) {
    // Each overlaps only the one before: together they are one row, a staircase.
    EXPECT_EQ(groupIntoLines(
                  {{u"a", {0, 0, 0.1, 1}}, {u"b", {0.2, 0.4, 0.1, 1}}, {u"c", {0.4, 0.8, 0.1, 1}}})
                  .size(),
              1U);
    // A step of just over half is a row of its own.
    EXPECT_EQ(groupIntoLines({{u"a", {0, 0, 0.1, 1}}, {u"b", {0.2, 0.5, 0.1, 1}}}).size(), 2U);
}

TEST(TextLines, RowsComeFromTopToBottomWhateverTheOrder) {
    EXPECT_EQ(texts(groupIntoLines(
                  {{u"c", {0, 0.4, 1, 0.1}}, {u"a", {0, 0, 1, 0.1}}, {u"b", {0, 0.2, 1, 0.1}}})),
              (std::vector<QString>{u"a"_qs, u"b"_qs, u"c"_qs}));
}

TEST(TextLines, EqualHeightsOfFlatBoxesGoByTheirLeftEdge) {
    EXPECT_EQ(texts(groupIntoLines({{u"right", {0.5, 0.1, 0.1, 0}},
                                    {u"left", {0.1, 0.1, 0.1, 0}},
                                    {u"minus", {-0.0, -0.0, 0.1, 0}},
                                    {u"zero", {0.0, 0.0, 0.1, 0}}})),
              (std::vector<QString>{u"minus"_qs, u"zero"_qs, u"left"_qs, u"right"_qs}));
}

TEST(TextLines, SortPutsWhatIsNoNumberLast) {
    std::vector<PlacedText> fragments{
        {u"nan", {0, nan, 1, 1}}, {u"high", {0, infinity, 1, 1}}, {u"-nan", {0, -nan, 1, 1}},
        {u"zero", {0, 0, 1, 1}},  {u"low", {0, -infinity, 1, 1}}, {u"minus", {0, -1, 1, 1}},
        {u"one", {0, 1, 1, 1}}};
    sortFromTopToBottom(fragments);
    QString order;
    for (const PlacedText& fragment : fragments) {
        order += fragment.text;
        order += u' ';
    }
    EXPECT_EQ(order, u"low minus zero one high nan -nan "_qs);
}

TEST(TextLines, NothingGivesNoLines) { EXPECT_TRUE(groupIntoLines({}).empty()); }

// Joining

/// Two runs of four characters, each a quarter wide per character, `gap` apart.
QString joinedAt(double gap) { return join({{u"left", {-1, 0, 1, 1}}, {u"next", {gap, 0, 1, 1}}}); }

TEST(TextLines, GapOfOneAndAHalfCharactersIsOneBlank) {
    EXPECT_EQ(joinedAt(0.375), u"left next"_qs);
    EXPECT_EQ(joinedAt(std::nextafter(0.375, 1)), u"left   next"_qs);
    EXPECT_EQ(joinedAt(-0.5), u"left next"_qs); // overlapping
}

TEST(TextLines, RowIsJoinedFromLeftToRight) {
    EXPECT_EQ(join({{u"c", {0.2, 0, 0.1, 1}}, {u"a", {0, 0, 0.1, 1}}, {u"b", {0.1, 0, 0.1, 1}}}),
              u"a b c"_qs);
    EXPECT_EQ(join({}), QString());
    EXPECT_EQ(join({{u"alone", {0, 0, 1, 1}}}), u"alone"_qs);
}

TEST(TextLines, WithoutACharacterWidthEveryGapIsOneBlank) {
    EXPECT_EQ(join({{u"a", {0, 0, 0, 1}}, {u"b", {9, 0, 0, 1}}}), u"a b"_qs);
    EXPECT_EQ(join({{u"a", {0, 0, nan, 1}}, {u"b", {9, 0, -1, 1}}}), u"a b"_qs);
}

TEST(TextLines, GapThatIsNoNumberIsOneBlank) {
    EXPECT_EQ(join({{u"a", {0, 0, 1, 1}}, {u"b", {nan, 0, 1, 1}}}), u"a b"_qs);
}

TEST(TextLines, MedianCharacterWidthOfOddAndEvenCounts) {
    EXPECT_EQ(medianCharacterWidth({}), 0);
    EXPECT_EQ(medianCharacterWidth({{u"ab", {0, 0, 1, 1}}}), 0.5);
    EXPECT_EQ(medianCharacterWidth({{u"ab", {0, 0, 1, 1}}, {u"a", {0, 0, 1, 1}}}), 0.75);
    EXPECT_EQ(
        medianCharacterWidth({{u"a", {0, 0, 8, 1}}, {u"a", {0, 0, 1, 1}}, {u"a", {0, 0, 2, 1}}}),
        2);
    EXPECT_EQ(medianCharacterWidth({{u"a", {0, 0, 8, 1}},
                                    {u"a", {0, 0, 1, 1}},
                                    {u"a", {0, 0, 2, 1}},
                                    {u"a", {0, 0, 4, 1}}}),
              3);
}

TEST(TextLines, CharactersAreGraphemesInTheMedian) {
    EXPECT_EQ(medianCharacterWidth({{u"e\u0301\U0001F469\u200D\U0001F4BB", {0, 0, 1, 1}}}), 0.5);
}

TEST(TextLines, MedianCharacterWidthLeavesOutWhatHasNone) {
    EXPECT_EQ(medianCharacterWidth({{u"", {0, 0, 1, 1}},
                                    {u"a", {0, 0, 0, 1}},
                                    {u"a", {0, 0, -1, 1}},
                                    {u"a", {0, 0, nan, 1}},
                                    {u"a", {0, 0, 3, 1}}}),
              3);
}

// Blocks

TEST(TextLines, GapOfOnePointSixLineHeightsIsOneNewline) {
    const double threshold = 1.0 * 1.6;
    EXPECT_EQ(renderBlocks({line(u"a"_qs, -1, 1), line(u"b"_qs, threshold, 1)}), u"a\nb"_qs);
    EXPECT_EQ(renderBlocks({line(u"a"_qs, -1, 1), line(u"b"_qs, std::nextafter(threshold, 2), 1)}),
              u"a\n\nb"_qs);
}

TEST(TextLines, GapIsMeasuredByTheMedianHeight) {
    // Heights 1, 1 and 9: the gap of 2 is above 1.6 of the median and far below that of the mean.
    EXPECT_EQ(renderBlocks({line(u"a"_qs, 0, 9), line(u"b"_qs, 11, 1), line(u"c"_qs, 12, 1)}),
              u"a\n\nb\nc"_qs);
}

TEST(TextLines, LinesWithoutHeightsAreNeverBlocks) {
    EXPECT_EQ(renderBlocks({line(u"a"_qs, 0, 0), line(u"b"_qs, 5, 0)}), u"a\nb"_qs);
    EXPECT_EQ(renderBlocks({line(u"a"_qs, 0, nan), line(u"b"_qs, 5, -1)}), u"a\nb"_qs);
    EXPECT_EQ(renderBlocks({}), QString());
}

TEST(TextLines, MedianLineHeightLeavesOutWhatHasNone) {
    EXPECT_EQ(medianLineHeight({}), 0);
    EXPECT_EQ(medianLineHeight({line({}, 0, 0), line({}, 0, -2), line({}, 0, nan)}), 0);
    EXPECT_EQ(medianLineHeight({line({}, 0, 1), line({}, 0, 0), line({}, 0, 3)}), 2);
}

// Rows

TEST(TextLines, RowsAreCountedNotFragments) {
    EXPECT_EQ(distinctRowCount({}), 0);
    EXPECT_EQ(distinctRowCount({{u"a", {0, 0, 1, 1}}, {u"b", {1, 0.1, 1, 1}}}), 1);
    EXPECT_EQ(distinctRowCount({{u"a", {0, 0, 1, 1}}, {u"b", {1, 0.5, 1, 1}}}), 2);
    // The row box grows: the third is judged against both before it.
    EXPECT_EQ(
        distinctRowCount({{u"a", {0, 0, 1, 1}}, {u"b", {0, 0.4, 1, 1}}, {u"c", {0, 0.8, 1, 1}}}),
        1);
    EXPECT_EQ(distinctRowCount({{u"a", {0, nan, 1, 1}}, {u"b", {0, nan, 1, 1}}}), 2);
}

} // namespace lumivane::ScreenTextLayout
