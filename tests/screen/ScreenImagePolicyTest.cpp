#include "screen/ScreenImagePolicy.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumivane {

using ScreenImagePolicy::jpegLongEdge;
using ScreenImagePolicy::ocrLongEdge;

TEST(ScreenImagePolicy, NumbersAreThoseOfTheTable) {
    EXPECT_EQ(ScreenImagePolicy::privateLongEdge, 1024);
    EXPECT_EQ(ScreenImagePolicy::accurateLongEdge, 1024);
    EXPECT_EQ(ScreenImagePolicy::jpegQuality, 0.7);
    EXPECT_EQ(ScreenImagePolicy::ocrPointScale, 1.5);
    EXPECT_EQ(ScreenImagePolicy::ocrMaximumLongEdge, 3840);
    EXPECT_EQ(ScreenImagePolicy::ocrMinimumLongEdge, 1600);
}

TEST(ScreenImagePolicy, EachModeHasItsLongEdge) {
    EXPECT_EQ(jpegLongEdge(AnalysisMode::hyperPrivate), ScreenImagePolicy::privateLongEdge);
    EXPECT_EQ(jpegLongEdge(AnalysisMode::hyperAccurate), ScreenImagePolicy::accurateLongEdge);
}

TEST(ScreenImagePolicy, RecognitionTakesOneAndAHalfPixelsPerPoint) {
    EXPECT_EQ(ocrLongEdge(2880, 2), 2160);
    EXPECT_EQ(ocrLongEdge(1920, 1), 1920); // 2880, but never above the frame
}

TEST(ScreenImagePolicy, RecognitionIsBoundAbove) {
    EXPECT_EQ(ocrLongEdge(5120, 1), 3840);
    EXPECT_EQ(ocrLongEdge(5120, 2), 3840); // exactly at the bound
    EXPECT_EQ(ocrLongEdge(5118, 2), 3839); // 3838.5 rounds away from zero
}

TEST(ScreenImagePolicy, RecognitionIsBoundBelow) {
    EXPECT_EQ(ocrLongEdge(2000, 2), 1600);
    EXPECT_EQ(ocrLongEdge(2136, 2), 1602);
}

TEST(ScreenImagePolicy, LowerBoundIsBoundByTheFrame) {
    EXPECT_EQ(ocrLongEdge(1200, 2), 1200);
    EXPECT_EQ(ocrLongEdge(1599, 2), 1599);
    EXPECT_EQ(ocrLongEdge(1, 2), 1);
}

TEST(ScreenImagePolicy, HalvesRoundAwayFromZero) {
    EXPECT_EQ(ocrLongEdge(2401, 2), 1801); // 1800.75
    EXPECT_EQ(ocrLongEdge(2402, 2), 1802); // 1801.5
}

TEST(ScreenImagePolicy, ScaleThatIsNotAboveZeroCountsAsOne) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double scale : {0.0, -2.0, -std::numeric_limits<double>::infinity(), nan}) {
        EXPECT_EQ(ocrLongEdge(2000, scale), 2000) << scale;
        EXPECT_EQ(ocrLongEdge(5120, scale), 3840) << scale;
    }
}

TEST(ScreenImagePolicy, ScalesOfAnySizeStayWithinTheBounds) {
    EXPECT_EQ(ocrLongEdge(5120, std::numeric_limits<double>::denorm_min()), 3840);
    EXPECT_EQ(ocrLongEdge(5120, std::numeric_limits<double>::infinity()), 1600);
    EXPECT_EQ(ocrLongEdge(std::numeric_limits<int>::max(), 1e-300), 3840);
}

TEST(ScreenImagePolicy, FrameWithoutPixelsGivesZero) {
    EXPECT_EQ(ocrLongEdge(0, 2), 0);
    EXPECT_EQ(ocrLongEdge(-5, 2), 0);
}

} // namespace lumivane
