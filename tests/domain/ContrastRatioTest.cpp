#include "domain/ContrastRatio.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace lumivane {
namespace {

double luminanceOf(std::uint32_t hex) {
    return ContrastRatio::luminance(OverlayPalette::color(hex));
}

TEST(ContrastRatio, LuminanceRunsFromBlackToWhite) {
    EXPECT_DOUBLE_EQ(luminanceOf(0x000000), 0);
    EXPECT_DOUBLE_EQ(luminanceOf(0xFFFFFF), 1);
}

TEST(ContrastRatio, EachChannelHasItsOwnWeight) {
    EXPECT_DOUBLE_EQ(luminanceOf(0xFF0000), 0.2126);
    EXPECT_DOUBLE_EQ(luminanceOf(0x00FF00), 0.7152);
    EXPECT_DOUBLE_EQ(luminanceOf(0x0000FF), 0.0722);
}

TEST(ContrastRatio, DarkChannelsAreLinearAndTheRestIsAPower) {
    // 10 / 255 lies under the bend at 0.04045, 11 / 255 over it.
    EXPECT_NEAR(ContrastRatio::linearChannel(10 / 255.0), 10 / 255.0 / 12.92, 1e-15);
    EXPECT_NEAR(ContrastRatio::linearChannel(11 / 255.0), 0.003346535763899161, 1e-15);
    EXPECT_NEAR(ContrastRatio::linearChannel(0.5), 0.21404114048223255, 1e-15);
    EXPECT_DOUBLE_EQ(ContrastRatio::linearChannel(0.04045), 0.04045 / 12.92);
}

TEST(ContrastRatio, OpacityDoesNotCount) {
    SrgbColor faint = OverlayPalette::color(0x336699);
    faint.opacity = 0.1;
    EXPECT_DOUBLE_EQ(ContrastRatio::luminance(faint), luminanceOf(0x336699));
}

TEST(ContrastRatio, RatioIsTheSameInEitherOrder) {
    EXPECT_DOUBLE_EQ(ContrastRatio::ratio(0, 1), 21);
    EXPECT_DOUBLE_EQ(ContrastRatio::ratio(1, 0), 21);
    EXPECT_DOUBLE_EQ(ContrastRatio::ratio(0.4, 0.4), 1);
}

TEST(ContrastRatio, KnownGreysStandOnTheirSidesOfTheLimits) {
    const double white = luminanceOf(0xFFFFFF);
    EXPECT_NEAR(ContrastRatio::ratio(luminanceOf(0x767676), white), 4.54, 0.005);
    EXPECT_NEAR(ContrastRatio::ratio(luminanceOf(0x777777), white), 4.48, 0.005);
    EXPECT_NEAR(ContrastRatio::ratio(luminanceOf(0x949494), white), 3.03, 0.005);
}

} // namespace
} // namespace lumivane
