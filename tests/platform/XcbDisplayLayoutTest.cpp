#include "platform/linux/XcbDisplayLayout.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

constexpr QSize root(1920, 1080);
constexpr QRect leftMonitor(0, 0, 960, 1080);
constexpr QRect rightMonitor(960, 0, 960, 1080);

XcbStrut strutOf(std::vector<std::uint32_t> items) { return *XcbStrut::fromItems(items); }

QRect usable(const QRect& monitor, std::vector<XcbStrut> struts) {
    return usableArea(monitor, root, struts);
}

} // namespace

TEST(XcbDisplayLayout, PrimaryStandsAtTheOrigin) {
    const XcbDisplayLayout layout({{5, QRect(1920, 200, 1280, 1024), true, 1}});
    EXPECT_EQ(layout.info(layout.monitors().front()),
              (DisplayInfo{5, Rect{0, 0, 1280, 1024}, 1, true}));
}

TEST(XcbDisplayLayout, OthersStandAroundThePrimaryWithYUp) {
    const XcbDisplayLayout layout({{1, QRect(0, 0, 1920, 1080), false, 1},
                                   {2, QRect(1920, 200, 1280, 1024), true, 1},
                                   {3, QRect(1920, 1224, 800, 600), false, 1}});
    EXPECT_EQ(layout.info(*layout.find(1)).frame, (Rect{-1920, 144, 1920, 1080}));
    EXPECT_EQ(layout.info(*layout.find(3)).frame, (Rect{0, -600, 800, 600}));
    EXPECT_FALSE(layout.info(*layout.find(1)).isPrimary);
    EXPECT_EQ(layout.find(4), nullptr);
}

TEST(XcbDisplayLayout, FirstMonitorStandsInForAMissingPrimary) {
    const XcbDisplayLayout layout(
        {{1, QRect(100, 0, 640, 480), false, 1}, {2, QRect(740, 0, 640, 480), false, 1}});
    EXPECT_EQ(layout.info(*layout.find(1)), (DisplayInfo{1, Rect{0, 0, 640, 480}, 1, true}));
    EXPECT_EQ(layout.info(*layout.find(2)), (DisplayInfo{2, Rect{640, 0, 640, 480}, 1, false}));
}

TEST(XcbDisplayLayout, NoMonitorsAreNoTrouble) {
    const XcbDisplayLayout layout({});
    EXPECT_TRUE(layout.monitors().empty());
    EXPECT_EQ(layout.find(0), nullptr);
    EXPECT_EQ(layout.holding(QPoint(0, 0)), nullptr);
}

TEST(XcbDisplayLayout, ScaleDividesSizesAndKeepsPositions) {
    const XcbDisplayLayout layout(
        {{1, QRect(0, 0, 2880, 1800), true, 2}, {2, QRect(2880, 300, 1920, 1080), false, 1.5}});
    EXPECT_EQ(layout.info(*layout.find(1)), (DisplayInfo{1, Rect{0, 0, 1440, 900}, 2, true}));
    EXPECT_EQ(layout.info(*layout.find(2)),
              (DisplayInfo{2, Rect{2880, 900 - 300 - 720, 1280, 720}, 1.5, false}));
}

TEST(XcbDisplayLayout, PixelsBecomePointsWithinTheirMonitor) {
    const XcbDisplayLayout layout(
        {{1, QRect(0, 0, 2880, 1800), true, 2}, {2, QRect(2880, 300, 1920, 1080), false, 1.5}});
    const XcbMonitor& first = *layout.find(1);
    EXPECT_EQ(layout.toPoints(first, QPoint(0, 0)), (Point{0, 900}));
    EXPECT_EQ(layout.toPoints(first, QPoint(2879, 1799)), (Point{1439.5, 0.5}));
    const XcbMonitor& second = *layout.find(2);
    EXPECT_EQ(layout.toPoints(second, QPoint(2880 + 150, 300 + 300)), (Point{2980, 400}));
    EXPECT_EQ(layout.toPoints(first, QRect(0, 50, 2880, 1750)), (Rect{0, 0, 1440, 875}));
    EXPECT_EQ(layout.toPoints(second, QRect(2940, 300, 1860, 1050)), (Rect{2920, -100, 1240, 700}));
}

TEST(XcbDisplayLayout, MonitorHoldsItsEdgePixelsOnly) {
    const XcbDisplayLayout layout({{1, leftMonitor, true, 1}, {2, rightMonitor, false, 1}});
    EXPECT_EQ(layout.holding(QPoint(959, 1079))->id, 1U);
    EXPECT_EQ(layout.holding(QPoint(960, 0))->id, 2U);
    EXPECT_EQ(layout.holding(QPoint(1920, 0)), nullptr);
    EXPECT_EQ(layout.holding(QPoint(0, 1080)), nullptr);
}

TEST(XcbDisplayLayout, EveryCornerPixelLiesInItsFrameAtEveryScale) {
    for (const double scale : {1.0, 1.1, 1.25, 1.3, 1.5, 1.7, 2.0, 2.25, 3.0}) {
        const XcbDisplayLayout layout({{1, QRect(7, 3, 1366, 768), true, scale},
                                       {2, QRect(1373, 101, 1921, 1079), false, scale},
                                       {3, QRect(-801, 33, 799, 601), false, 1.9}});
        for (const XcbMonitor& monitor : layout.monitors()) {
            const DisplayInfo info = layout.info(monitor);
            for (const QPoint& corner : {monitor.area.topLeft(), monitor.area.topRight(),
                                         monitor.area.bottomLeft(), monitor.area.bottomRight()}) {
                const auto found = displayContaining({info}, layout.toPoints(monitor, corner));
                EXPECT_TRUE(found) << scale << " " << corner.x() << " " << corner.y();
            }
            EXPECT_EQ(layout.toPoints(monitor, monitor.area.topLeft()).y, info.frame.maxY());
            EXPECT_EQ(layout.toPoints(monitor, monitor.area), info.frame) << scale;
        }
    }
}

TEST(XcbStrut, ReadsBothForms) {
    const XcbStrut full = strutOf({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    EXPECT_EQ(full.left, 1);
    EXPECT_EQ(full.right, 2);
    EXPECT_EQ(full.top, 3);
    EXPECT_EQ(full.bottom, 4);
    EXPECT_EQ(full.leftRows.first, 5);
    EXPECT_EQ(full.rightRows.last, 8);
    EXPECT_EQ(full.topColumns.first, 9);
    EXPECT_EQ(full.bottomColumns.last, 12);
    const XcbStrut old = strutOf({1, 2, 3, 4});
    EXPECT_EQ(old.bottom, 4);
    EXPECT_EQ(old.leftRows.first, 0);
    EXPECT_GT(old.topColumns.last, 100000);
    EXPECT_FALSE(XcbStrut::fromItems(std::vector<std::uint32_t>{}));
    EXPECT_FALSE(XcbStrut::fromItems(std::vector<std::uint32_t>{1, 2, 3}));
}

TEST(XcbStrut, CountsForTheMonitorItTouchesOnly) {
    const XcbStrut topOfRight = strutOf({0, 0, 30, 0, 0, 0, 0, 0, 960, 1919, 0, 0});
    EXPECT_EQ(usable(leftMonitor, {topOfRight}), leftMonitor);
    EXPECT_EQ(usable(rightMonitor, {topOfRight}), QRect(960, 30, 960, 1050));
    const XcbStrut bottomOfLeft = strutOf({0, 0, 0, 40, 0, 0, 0, 0, 0, 0, 0, 959});
    EXPECT_EQ(usable(leftMonitor, {bottomOfLeft}), QRect(0, 0, 960, 1040));
    EXPECT_EQ(usable(rightMonitor, {bottomOfLeft}), rightMonitor);
}

TEST(XcbStrut, RangesHoldBothTheirEnds) {
    const XcbStrut upToTheFirstColumn = strutOf({0, 0, 30, 0, 0, 0, 0, 0, 0, 960, 0, 0});
    EXPECT_EQ(usable(rightMonitor, {upToTheFirstColumn}).top(), 30);
    const XcbStrut fromTheLastColumn = strutOf({0, 0, 30, 0, 0, 0, 0, 0, 959, 1919, 0, 0});
    EXPECT_EQ(usable(leftMonitor, {fromTheLastColumn}).top(), 30);
}

TEST(XcbStrut, OldFormCountsForTheWholeEdge) {
    EXPECT_EQ(usable(leftMonitor, {strutOf({0, 0, 30, 0})}), QRect(0, 30, 960, 1050));
    EXPECT_EQ(usable(rightMonitor, {strutOf({0, 0, 30, 0})}), QRect(960, 30, 960, 1050));
    EXPECT_EQ(usable(leftMonitor, {strutOf({70, 0, 0, 0})}), QRect(70, 0, 890, 1080));
    EXPECT_EQ(usable(rightMonitor, {strutOf({70, 0, 0, 0})}), rightMonitor);
    EXPECT_EQ(usable(rightMonitor, {strutOf({0, 70, 0, 0})}), QRect(960, 0, 890, 1080));
    EXPECT_EQ(usable(leftMonitor, {strutOf({0, 70, 0, 0})}), leftMonitor);
}

TEST(XcbStrut, PanelOnAnInnerEdgePassesThroughTheOtherMonitor) {
    const XcbStrut leftOfRight = strutOf({960 + 50, 0, 0, 0, 0, 1079, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(usable(leftMonitor, {leftOfRight}), leftMonitor);
    EXPECT_EQ(usable(rightMonitor, {leftOfRight}), QRect(1010, 0, 910, 1080));
    const XcbStrut rightOfLeft = strutOf({0, 960 + 50, 0, 0, 0, 0, 0, 1079, 0, 0, 0, 0});
    EXPECT_EQ(usable(leftMonitor, {rightOfLeft}), QRect(0, 0, 910, 1080));
    EXPECT_EQ(usable(rightMonitor, {rightOfLeft}), rightMonitor);
}

TEST(XcbStrut, IsCountedFromTheRootsEdge) {
    // The right monitor ends 180 rows above the bottom of the root window.
    const QRect shorter(960, 0, 960, 900);
    EXPECT_EQ(usable(shorter, {strutOf({0, 0, 0, 220, 0, 0, 0, 0, 0, 0, 960, 1919})}),
              QRect(960, 0, 960, 860));
    EXPECT_EQ(usable(shorter, {strutOf({0, 0, 0, 100, 0, 0, 0, 0, 0, 0, 960, 1919})}), shorter);
}

TEST(XcbStrut, LargestOfSeveralCounts) {
    const std::vector<XcbStrut> struts{strutOf({0, 0, 30, 0}), strutOf({0, 0, 50, 0}),
                                       strutOf({0, 0, 20, 60}), strutOf({64, 0, 0, 0})};
    EXPECT_EQ(usable(leftMonitor, struts), QRect(64, 50, 896, 970));
}

TEST(XcbStrut, NonsenseNeverGivesANegativeArea) {
    EXPECT_EQ(usable(leftMonitor, {strutOf({~0U, ~0U, ~0U, ~0U})}), leftMonitor);
    const QRect crossed = usable(leftMonitor, {strutOf({0, 0, 700, 700})});
    EXPECT_EQ(crossed.height(), 0);
    EXPECT_EQ(usable(leftMonitor, {}), leftMonitor);
}

} // namespace lumivane
