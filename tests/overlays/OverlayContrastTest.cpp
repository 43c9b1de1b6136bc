#include "overlays/OverlayContrast.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumivane {

using namespace OverlayContrast;
using Background = OverlayBackgroundStyle;
using Text = OverlayTextColor;

namespace {

constexpr double exact = 6e-4;

} // namespace

TEST(OverlayContrast, NoFillGivesNoReading) {
    for (const auto& row : tables::overlayTextColor) {
        EXPECT_EQ(reading(Background::none, row.value, 90), Reading{});
    }
    EXPECT_FALSE(reading(Background::none, Text::white, 0).isBelowMinimum());
}

TEST(OverlayContrast, PairIsJudgedOnTheOpaqueFill) {
    struct Row {
        Background background;
        Text text;
        double ratio;
    };

    for (const Row& row : {
             Row{Background::graphite, Text::white, 16.869},
             Row{Background::graphite, Text::black, 1.119},
             Row{Background::graphite, Text::mint, 12.379},
             Row{Background::graphite, Text::amber, 10.428},
             Row{Background::slate, Text::white, 2.695},
             Row{Background::slate, Text::black, 7.008},
             Row{Background::slate, Text::mint, 1.977},
             Row{Background::slate, Text::amber, 1.666},
             Row{Background::blue, Text::white, 4.754},
             Row{Background::blue, Text::black, 3.972},
             Row{Background::blue, Text::mint, 3.489},
             Row{Background::blue, Text::amber, 2.939},
             Row{Background::light, Text::white, 1.118},
             Row{Background::light, Text::black, 16.889},
             Row{Background::light, Text::mint, 1.219},
             Row{Background::light, Text::amber, 1.447},
         }) {
        for (const double opacity : {0.0, 40.0, 100.0}) {
            EXPECT_NEAR(reading(row.background, row.text, opacity).pairRatio.value(), row.ratio,
                        exact)
                << int(row.background) << ' ' << int(row.text);
        }
    }
}

TEST(OverlayContrast, SolidFillHasNoWorseCase) {
    for (const auto& background : tables::overlayBackgroundStyle) {
        for (const auto& text : tables::overlayTextColor) {
            const Reading solid = reading(background.value, text.value, 100);
            EXPECT_EQ(solid.worstCaseRatio, solid.pairRatio);
        }
    }
}

TEST(OverlayContrast, WorstDesktopLiesNearestToTheText) {
    const Reading white = reading(Background::graphite, Text::white, 90);
    EXPECT_NEAR(white.worstCaseRatio.value(), 12.475, exact); // 0x333435 over white
    EXPECT_FALSE(white.isBelowMinimum());
    const Reading black = reading(Background::light, Text::black, 90);
    EXPECT_NEAR(black.worstCaseRatio.value(), 13.527, exact); // 0xDADADC over black
    EXPECT_FALSE(black.isBelowMinimum());
}

TEST(OverlayContrast, TextThatSomeDesktopSwallowsReadsAsOne) {
    const Reading reading = OverlayContrast::reading(Background::graphite, Text::amber, 10);
    EXPECT_EQ(reading.worstCaseRatio, 1.0);
    EXPECT_NEAR(reading.pairRatio.value(), 10.428, exact);
    EXPECT_TRUE(reading.isBelowMinimum());
}

TEST(OverlayContrast, EndsOfTheRangeBelongToIt) {
    EXPECT_EQ(reading(Background::graphite, Text::white, 0).worstCaseRatio, 1.0)
        << "nothing hides a white desktop";
}

TEST(OverlayContrast, WhiteOnAFaintFillIsWarnedOf) {
    const Reading faint = reading(Background::graphite, Text::white, 5);
    EXPECT_GT(faint.worstCaseRatio.value(), 1.0);
    EXPECT_LT(faint.worstCaseRatio.value(), 1.15);
    EXPECT_TRUE(faint.isBelowMinimum());
}

TEST(OverlayContrast, OpacityIsHeldToItsRange) {
    EXPECT_EQ(reading(Background::blue, Text::white, 150),
              reading(Background::blue, Text::white, 100));
    EXPECT_EQ(reading(Background::blue, Text::white, -10),
              reading(Background::blue, Text::white, 0));
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(reading(Background::blue, Text::white, infinity),
              reading(Background::blue, Text::white, 100));
    EXPECT_EQ(reading(Background::blue, Text::white, std::numeric_limits<double>::quiet_NaN()),
              reading(Background::blue, Text::white, 0));
}

TEST(OverlayContrast, ChannelsAreRoundedHalfAwayFromZero) {
    // 0x9A and 0x9E at one half over white are 204.5 and 206.5, which makes 0xCDCFD1 of the fill.
    EXPECT_NEAR(reading(Background::slate, Text::white, 50).worstCaseRatio.value(), 1.56231, 1e-4);
}

TEST(OverlayContrast, MinimumIsMetByExactlyIt) {
    EXPECT_FALSE((Reading{4.5, 4.5}).isBelowMinimum());
    EXPECT_TRUE((Reading{4.5, 4.4999}).isBelowMinimum());
    EXPECT_TRUE((Reading{4.4999, 21.0}).isBelowMinimum());
    EXPECT_FALSE((Reading{21.0, 4.5}).isBelowMinimum());
    EXPECT_FALSE((Reading{1.0, std::nullopt}).isBelowMinimum());
    EXPECT_FALSE((Reading{std::nullopt, 1.0}).isBelowMinimum());
}

TEST(OverlayContrast, PassingColoursStandInCaseOrder) {
    using Colors = std::vector<Text>;
    EXPECT_EQ(passingTextColors(Background::graphite),
              (Colors{Text::white, Text::mint, Text::amber}));
    EXPECT_EQ(passingTextColors(Background::slate), Colors{Text::black});
    EXPECT_EQ(passingTextColors(Background::blue), Colors{Text::white});
    EXPECT_EQ(passingTextColors(Background::light), Colors{Text::black});
    EXPECT_EQ(passingTextColors(Background::none), Colors{});
}

} // namespace lumivane
