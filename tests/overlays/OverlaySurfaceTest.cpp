#include "overlays/OverlaySurface.h"

#include "overlays/ColorMixing.h"
#include "overlays/OverlaySurfaceStyle.h"
#include "overlays/ResultOverlayLayout.h"
#include "ui/identity/PaintColor.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumivane {

using Background = OverlayBackgroundStyle;

TEST(ResultOverlayLayout, LengthsAreTheDesigned) {
    using namespace ResultOverlayLayout;
    EXPECT_EQ(cornerRadius, 11);
    EXPECT_EQ(verticalPadding, 16);
    EXPECT_EQ(horizontalPadding, 18);
    EXPECT_EQ(headerHeight, 24);
    EXPECT_EQ(answerTopMargin, 9);
    EXPECT_EQ(countdownTopMargin, 14);
    EXPECT_EQ(countdownHeight, 2);
    EXPECT_EQ(footerTopMargin, 9);
    EXPECT_EQ(footerHeight, 26);
}

TEST(ResultOverlayLayout, CountdownMakesThePanelHigher) {
    EXPECT_EQ(ResultOverlayLayout::chromeHeight(false), 100);
    EXPECT_EQ(ResultOverlayLayout::chromeHeight(true), 116);
}

TEST(OverlaySurfaceStyle, ErrorLooksLikeOneWhateverWasChosen) {
    for (const auto& row : tables::overlayBackgroundStyle) {
        EXPECT_EQ(OverlaySurfaceStyle::resolve(row.value, true, 10, false),
                  (OverlaySurfaceStyle{0x520F0A, 0.96}));
        EXPECT_EQ(OverlaySurfaceStyle::resolve(row.value, true, 10, true),
                  (OverlaySurfaceStyle{0x520F0A, 1.0}));
    }
}

TEST(OverlaySurfaceStyle, FillHasTheChosenOpacity) {
    struct Row {
        Background background;
        std::uint32_t hex;
    };

    for (const Row& row : {Row{Background::graphite, 0x1C1D1F}, Row{Background::slate, 0x9A9EA3},
                           Row{Background::blue, 0x2F6FDB}, Row{Background::light, 0xF2F2F4}}) {
        EXPECT_EQ(OverlaySurfaceStyle::resolve(row.background, false, 90, false),
                  (OverlaySurfaceStyle{row.hex, 0.9}));
        EXPECT_EQ(OverlaySurfaceStyle::resolve(row.background, false, 90, true),
                  (OverlaySurfaceStyle{row.hex, 1.0}));
    }
}

TEST(OverlaySurfaceStyle, OpacityIsHeldToItsRange) {
    const auto opacity = [](double percent) {
        return OverlaySurfaceStyle::resolve(Background::blue, false, percent, false).opacity;
    };
    EXPECT_EQ(opacity(150), 1);
    EXPECT_EQ(opacity(-10), 0);
    EXPECT_EQ(opacity(0), 0);
    EXPECT_EQ(opacity(100), 1);
    EXPECT_EQ(opacity(std::numeric_limits<double>::infinity()), 1);
    EXPECT_EQ(opacity(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(OverlaySurfaceStyle, NoFillBecomesGraphiteWhereTransparencyIsUnwanted) {
    EXPECT_EQ(OverlaySurfaceStyle::resolve(Background::none, false, 40, false),
              (OverlaySurfaceStyle{std::nullopt, 1.0}));
    EXPECT_EQ(OverlaySurfaceStyle::resolve(Background::none, false, 40, true),
              (OverlaySurfaceStyle{0x1C1D1F, 1.0}));
}

TEST(OverlaySurfaceStyle, ColourIsTheFillAtFullOpacity) {
    EXPECT_EQ((OverlaySurfaceStyle{0x33FF00, 0.5}).color(), (SrgbColor{0.2, 1, 0, 1}));
    EXPECT_EQ((OverlaySurfaceStyle{std::nullopt, 0.5}).color(), std::nullopt);
}

TEST(OverlaySurface, PaintsTheResolvedStyle) {
    OverlaySurface surface;
    surface.settings.overlayBackground = Background::blue;
    surface.settings.backgroundOpacity = 50;
    SrgbColor blue = OverlayPalette::color(0x2F6FDB);
    EXPECT_EQ(surface.painted(true), blue);
    blue.opacity = 0.5;
    EXPECT_EQ(surface.painted(false), blue);
    surface.isError = true;
    SrgbColor error = OverlayPalette::color(0x520F0A);
    EXPECT_EQ(surface.painted(true), error);
    error.opacity = 0.96;
    EXPECT_EQ(surface.painted(false), error);
}

TEST(OverlaySurface, NoFillPaintsNothing) {
    OverlaySurface surface;
    surface.settings.overlayBackground = Background::none;
    EXPECT_EQ(surface.painted(false).opacity, 0);
    EXPECT_EQ(surface.painted(true), OverlayPalette::color(0x1C1D1F));
}

TEST(PaintColor, KeepsChannelsAndOpacity) {
    const QColor color = paintColor({0.2, 0.4, 0.6, 0.8});
    EXPECT_EQ(color.rgba(), qRgba(51, 102, 153, 204));
}

TEST(ColorMixing, OpacityIsAShareOfTheColoursOwn) {
    EXPECT_EQ(withOpacity({0.1, 0.2, 0.3, 0.5}, 0.5), (SrgbColor{0.1, 0.2, 0.3, 0.25}));
}

TEST(ColorMixing, LayersMixByTheUpperOnesOpacity) {
    const SrgbColor white{1, 1, 1, 1};
    const SrgbColor black{0, 0, 0, 1};
    EXPECT_EQ(composited(white, black), white);
    EXPECT_EQ(composited(withOpacity(white, 0.25), black), (SrgbColor{0.25, 0.25, 0.25, 1}));
    EXPECT_EQ(composited(withOpacity(white, 0), black), black);
    EXPECT_EQ(composited(withOpacity(white, 0.5), withOpacity(black, 0)), withOpacity(white, 0.5));
    EXPECT_EQ(composited(withOpacity(white, 0), withOpacity(black, 0)), (SrgbColor{0, 0, 0, 0}));
    EXPECT_DOUBLE_EQ(composited(withOpacity(white, 0.5), withOpacity(black, 0.5)).opacity, 0.75);
    EXPECT_DOUBLE_EQ(composited(withOpacity(white, 0.5), withOpacity(black, 0.5)).red, 2.0 / 3);
}

} // namespace lumivane
