#include "screen/TextColumns.h"

#include "screen/ScreenTextLayout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace lumivane::ScreenTextLayout {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// A box that fills the bins from `first` to `last` of a page that is 200 wide and 10 high.
Rect bins(int first, int last, double y = 0, double height = 10) {
    return {first + 0.5, y, static_cast<double>(last - first), height};
}

/// The same, with two slivers at the page's edges that fix its extent and fill nothing.
std::vector<Rect> page(std::vector<Rect> boxes) {
    boxes.push_back({0, 0, 0, 10});
    boxes.push_back({200, 0, 0, 10});
    return boxes;
}

std::vector<double> cutsOf(const std::vector<Rect>& boxes) { return columnCuts(page(boxes)); }

// Intervals

TEST(TextColumns, IntervalsThatMeetCountOnce) {
    IntervalUnion covered;
    EXPECT_EQ(covered.length(), 0);
    covered.add(0, 2);
    covered.add(1, 3);
    covered.add(1, 2); // within
    EXPECT_EQ(covered.length(), 3);
    covered.add(3, 4); // from the very end
    EXPECT_EQ(covered.length(), 4);
    covered.add(6, 7);
    EXPECT_EQ(covered.length(), 5);
}

TEST(TextColumns, IntervalTurnedAroundCoversNothing) {
    IntervalUnion covered;
    covered.add(5, 1);
    EXPECT_EQ(covered.length(), 0);
    covered.add(5, 5);
    covered.add(6, 8);
    covered.add(7, 6);
    EXPECT_EQ(covered.length(), 2);
}

TEST(TextColumns, IntervalsMayLieBelowZero) {
    IntervalUnion covered;
    covered.add(-5, -4);
    covered.add(-1, 1);
    EXPECT_EQ(covered.length(), 3);
}

// Bins

TEST(TextColumns, BinIsHeldToTheBinsThereAre) {
    const Rect content{10, 0, 200, 1};
    EXPECT_EQ(binIndex(10, content, 1), 0);
    EXPECT_EQ(binIndex(10.99, content, 1), 0);
    EXPECT_EQ(binIndex(11, content, 1), 1);
    EXPECT_EQ(binIndex(210, content, 1), 199);
    EXPECT_EQ(binIndex(1e300, content, 1), 199);
    EXPECT_EQ(binIndex(-1e300, content, 1), 0);
    EXPECT_EQ(binIndex(infinity, content, 1), 199);
    EXPECT_EQ(binIndex(nan, content, 1), 0);
}

// Cuts

TEST(TextColumns, GutterOfEightBinsIsNoCutAndOneOfNineIs) {
    EXPECT_TRUE(cutsOf({bins(0, 80), bins(89, 199)}).empty());
    EXPECT_EQ(cutsOf({bins(0, 80), bins(90, 199)}), (std::vector<double>{85.5}));
}

TEST(TextColumns, CutLiesInTheMiddleOfItsGutter) {
    EXPECT_EQ(cutsOf({bins(0, 80), bins(91, 199)}), (std::vector<double>{86})); // bins 81 to 90
    std::vector<Rect> moved = page({bins(0, 80), bins(91, 199)});
    for (Rect& box : moved) {
        box.x += 1000;
    }
    EXPECT_EQ(columnCuts(moved), (std::vector<double>{1086}));
}

TEST(TextColumns, WideEmptyStripInsideThePageIsAGutterEvenBesideItsEdge) {
    EXPECT_EQ(cutsOf({bins(40, 160)}).size(), 2U); // from bin 1, and up to bin 198
}

TEST(TextColumns, ValleyThatTouchesTheFirstOrTheLastBinIsIgnored) {
    // The outermost boxes fix the page's extent, but fill less than a tenth of its height.
    EXPECT_TRUE(columnCuts({{0, 0, 0, 0.9}, bins(40, 199), {200, 0, 0, 10}}).empty());
    EXPECT_TRUE(columnCuts({{0, 0, 0, 10}, bins(0, 160), {200, 0, 0, 0.9}}).empty());
    EXPECT_EQ(columnCuts({{0, 0, 0, 1.1}, bins(40, 199), {200, 0, 0, 10}}).size(), 1U);
    EXPECT_EQ(columnCuts({{0, 0, 0, 10}, bins(0, 160), {200, 0, 0, 1.1}}).size(), 1U);
}

TEST(TextColumns, TwoGuttersGiveTwoCutsAndThreeGiveNone) {
    EXPECT_EQ(cutsOf({bins(0, 40), bins(60, 100), bins(120, 199)}),
              (std::vector<double>{50.5, 110.5}));
    EXPECT_TRUE(cutsOf({bins(0, 30), bins(50, 80), bins(100, 130), bins(150, 199)}).empty());
}

TEST(TextColumns, NarrowValleysDoNotCountAsGutters) {
    EXPECT_EQ(cutsOf({bins(0, 30), bins(35, 80), bins(85, 100), bins(120, 150), bins(155, 199)}),
              (std::vector<double>{110.5}));
}

TEST(TextColumns, BinFilledToATenthOfTheHeightIsStillAValley) {
    EXPECT_EQ(cutsOf({bins(0, 80), bins(100, 199), bins(80, 100, 4, 1)}).size(), 1U);
    EXPECT_TRUE(cutsOf({bins(0, 80), bins(100, 199), bins(80, 100, 4, 1.01)}).empty());
    // Two that overlap fill what they cover together.
    EXPECT_EQ(cutsOf({bins(0, 80), bins(100, 199), bins(80, 100, 4, 0.8), bins(80, 100, 4.2, 0.8)})
                  .size(),
              1U);
    EXPECT_TRUE(cutsOf({bins(0, 80), bins(100, 199), bins(80, 100, 4, 0.8), bins(80, 100, 6, 0.8)})
                    .empty());
}

TEST(TextColumns, OrderOfTheBoxesDoesNotMatter) {
    std::vector<Rect> boxes;
    for (int row = 0; row < 10; ++row) {
        boxes.push_back(bins(0, 80, row, 1));
        boxes.push_back(bins(100, 199, row, 1));
    }
    boxes = page(boxes);
    const std::vector<double> cuts = columnCuts(boxes);
    EXPECT_EQ(cuts.size(), 1U);
    std::mt19937 random(3);
    for (int round = 0; round < 20; ++round) {
        std::shuffle(boxes.begin(), boxes.end(), random);
        ASSERT_EQ(columnCuts(boxes), cuts);
    }
}

TEST(TextColumns, NothingToProjectGivesNoCuts) {
    EXPECT_TRUE(columnCuts({}).empty());
    EXPECT_TRUE(columnCuts({{0, 0, 0, 10}}).empty());
    EXPECT_TRUE(columnCuts({{0, 0, 10, 0}}).empty());
    EXPECT_TRUE(columnCuts({{0, 0, -10, -10}}).empty());
    EXPECT_TRUE(columnCuts({{nan, 0, 1, 1}}).empty());
    EXPECT_TRUE(columnCuts({{0, 0, 5e-324, 1}, {0, 0.5, 5e-324, 1}}).empty());  // bins of no width
    EXPECT_TRUE(columnCuts({{-1.7e308, 0, 1, 1}, {1.7e308, 0, 1, 1}}).empty()); // no finite width
}

TEST(TextColumns, BoxesWithoutFiniteCoordinatesTakeNoPart) {
    std::vector<Rect> boxes = page({bins(0, 80), bins(100, 199)});
    const std::vector<double> cuts = columnCuts(boxes);
    ASSERT_EQ(cuts.size(), 1U);
    boxes.insert(boxes.begin(), {nan, 0, 1, 1});
    boxes.insert(boxes.begin(), {0, nan, 1, 1});
    boxes.push_back({0, 0, infinity, 10});
    boxes.push_back({-infinity, 0, 1, 10});
    boxes.push_back({0, 0, 200, nan});
    boxes.push_back({0, -infinity, 200, 1});
    EXPECT_EQ(columnCuts(boxes), cuts);
}

TEST(TextColumns, BoxTurnedAroundFillsNothing) {
    EXPECT_EQ(cutsOf({bins(0, 80), bins(100, 199), {199, 0, -198, 10}}).size(), 1U);
    EXPECT_EQ(cutsOf({bins(0, 80), bins(100, 199), {1, 10, 198, -10}}).size(), 1U);
}

// Parting

TEST(TextColumns, BoxCentredOnACutGoesLeft) {
    const std::vector<double> cuts{10, 20};
    EXPECT_EQ(columnIndex(9, cuts), 0U);
    EXPECT_EQ(columnIndex(10, cuts), 0U);
    EXPECT_EQ(columnIndex(std::nextafter(10, 11), cuts), 1U);
    EXPECT_EQ(columnIndex(20, cuts), 1U);
    EXPECT_EQ(columnIndex(21, cuts), 2U);
    EXPECT_EQ(columnIndex(nan, cuts), 0U);
    EXPECT_EQ(columnIndex(infinity, cuts), 2U);
    EXPECT_EQ(columnIndex(-infinity, cuts), 0U);
}

/// `rows` rows on both sides of a gutter.
std::vector<PlacedText> twoSides(int rows) {
    std::vector<PlacedText> fragments;
    for (int row = 0; row < rows; ++row) {
        fragments.emplace_back(u"right", bins(100, 199, row, 0.9));
        fragments.emplace_back(u"left", bins(0, 80, row, 0.9));
    }
    return fragments;
}

TEST(TextColumns, SevenRowsOfFragmentsStayOneColumnAndEightDoNot) {
    EXPECT_EQ(splitFragmentsIntoColumns(twoSides(7)).size(), 1U);
    const auto columns = splitFragmentsIntoColumns(twoSides(8));
    ASSERT_EQ(columns.size(), 2U);
    for (std::size_t row = 0; row < 8; ++row) {
        EXPECT_EQ(columns[0].at(row).text, u"left"_qs);
        EXPECT_EQ(columns[1].at(row).text, u"right"_qs);
        EXPECT_EQ(columns[0].at(row).box.minY(), static_cast<double>(row));
    }
}

TEST(TextColumns, PageWithoutGuttersIsOneColumn) {
    std::vector<PlacedText> fragments;
    for (int row = 0; row < 12; ++row) {
        fragments.emplace_back(u"wide", bins(0, 199, row, 0.9));
    }
    const auto columns = splitFragmentsIntoColumns(fragments);
    ASSERT_EQ(columns.size(), 1U);
    EXPECT_EQ(columns.front().size(), 12U);
}

TEST(TextColumns, NoFragmentsAreOneEmptyColumn) {
    EXPECT_EQ(splitFragmentsIntoColumns({}).size(), 1U);
    EXPECT_EQ(splitIntoColumns({}).size(), 1U);
}

TEST(TextColumns, ThreeLinesNeverSplitAndFourDo) {
    std::vector<LayoutLine> lines{{u"a"_qs, bins(0, 80, 0, 4)},
                                  {u"b"_qs, bins(100, 199, 0.5, 9)},
                                  {u"c"_qs, bins(0, 80, 5, 4)}};
    EXPECT_EQ(splitIntoColumns(lines).size(), 1U);
    lines.push_back({u"d"_qs, bins(0, 80, 9, 1)});
    const auto columns = splitIntoColumns(lines);
    ASSERT_EQ(columns.size(), 2U);
    EXPECT_EQ(columns[0].size(), 3U);
    EXPECT_EQ(columns[0].at(2).text, u"d"_qs);
    EXPECT_EQ(columns[1].at(0).text, u"b"_qs);
}

TEST(TextColumns, EmptyColumnsAreDropped) {
    // Two long runs fill the middle together, and each is centred on its own side of it.
    std::vector<PlacedText> fragments{{u"from the right", bins(60, 199, 0, 1)},
                                      {u"from the left", bins(0, 80, 5, 1)}};
    for (int row = 0; row < 10; ++row) {
        fragments.emplace_back(u"left", bins(0, 40, row, 1));
        fragments.emplace_back(u"right", bins(96, 199, row, 1));
    }
    std::vector<Rect> boxes;
    for (const PlacedText& fragment : fragments) {
        boxes.push_back(fragment.box);
    }
    ASSERT_EQ(columnCuts(boxes).size(), 2U);
    const auto columns = splitFragmentsIntoColumns(fragments);
    ASSERT_EQ(columns.size(), 2U);
    EXPECT_EQ(columns[0].size(), 11U);
    EXPECT_EQ(columns[1].size(), 11U);
}

} // namespace lumivane::ScreenTextLayout
