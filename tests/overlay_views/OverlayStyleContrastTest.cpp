#include "domain/ContrastRatio.h"
#include "overlays/OverlaySurface.h"
#include "overlays/qml/OverlayStyle.h"

#include <QVariant>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace lumivane {

namespace {

constexpr double minimum = 4.5;
constexpr double minimumOfGraphic = 3;

SrgbColor colorOf(const QColor& color) {
    return {color.redF(), color.greenF(), color.blueF(), color.alphaF()};
}

/// What is seen of a colour at that opacity, over an opaque ground.
SrgbColor laidOver(const SrgbColor& ground, const SrgbColor& color, double opacity = 1) {
    const double share = color.opacity * opacity;
    const auto mix = [share](double below, double above) {
        return above * share + below * (1 - share);
    };
    return {mix(ground.red, color.red), mix(ground.green, color.green),
            mix(ground.blue, color.blue), 1};
}

double contrast(const SrgbColor& color, const SrgbColor& other) {
    return ContrastRatio::ratio(ContrastRatio::luminance(color), ContrastRatio::luminance(other));
}

class OverlayStyleContrast : public testing::Test {
protected:
    SrgbColor color(const char* name) const {
        const QVariant value = m_style.property(name);
        EXPECT_TRUE(value.isValid()) << name;
        return colorOf(value.value<QColor>());
    }

    double number(const char* name) const {
        const QVariant value = m_style.property(name);
        EXPECT_TRUE(value.isValid()) << name;
        return value.toDouble();
    }

    /// A fill over the desktops that take most from what stands on it.
    static std::vector<SrgbColor> grounds(const SrgbColor& fill) {
        return {laidOver({0, 0, 0, 1}, fill), laidOver({1, 1, 1, 1}, fill)};
    }

    /// How a colour at that opacity is read on a fill, where it is worst.
    static double worst(const SrgbColor& foreground, double opacity, const SrgbColor& fill) {
        double worst = 21;
        for (const SrgbColor& ground : grounds(fill)) {
            worst = std::min(worst, contrast(laidOver(ground, foreground, opacity), ground));
        }
        return worst;
    }

    const SrgbColor m_white{1, 1, 1, 1};

private:
    OverlayStyle m_style;
};

} // namespace

TEST_F(OverlayStyleContrast, WordsOfTheNotesPanelsCanBeRead) {
    const SrgbColor fill = color("notesFill");
    EXPECT_GE(worst(color("foregroundOnFill"), 1, fill), minimum);
    EXPECT_GE(worst(color("foregroundOnFill"), number("calloutOpacity"), fill), minimum);
    EXPECT_GE(worst(color("foregroundOnFill"), number("symbolButtonOpacity"), fill), minimum);
    EXPECT_GE(worst(color("notesIcon"), 1, fill), minimum);
}

TEST_F(OverlayStyleContrast, WordsOfTheAccountPanelsCanBeRead) {
    const SrgbColor fill = color("accountFill");
    EXPECT_GE(worst(color("foregroundOnFill"), 1, fill), minimum);
    EXPECT_GE(worst(color("foregroundOnFill"), number("accountBodyOpacity"), fill), minimum);
    EXPECT_GE(worst(color("accountIcon"), 1, fill), minimum);
}

TEST_F(OverlayStyleContrast, WordsOnButtonsCanBeReadAtRestUnderThePointerAndPressed) {
    struct Button {
        const char* text;
        const char* fill;
    };

    for (const Button& button : {Button{"foregroundOnFill", "buttonFill"},
                                 Button{"defaultButtonText", "defaultButtonFill"}}) {
        for (const SrgbColor& panel : grounds(color("accountFill"))) {
            const auto readAt = [&](double opacity) {
                const SrgbColor ground = laidOver(panel, color(button.fill), opacity);
                return contrast(laidOver(ground, color(button.text)), ground);
            };
            EXPECT_GE(readAt(1), minimum) << button.text;
            EXPECT_GE(readAt(number("hoveredOpacity")), minimum) << button.text;
            // For as long as the button is held.
            EXPECT_GE(readAt(number("pressedOpacity")), minimumOfGraphic) << button.text;
        }
    }
}

TEST_F(OverlayStyleContrast, WordsOfAnErrorCanBeReadHoweverFaintItsPanelMayBe) {
    AppSettings settings;
    settings.backgroundOpacity = 0;
    for (const bool reduceTransparency : {false, true}) {
        const SrgbColor fill = OverlaySurface{settings, true}.painted(reduceTransparency);
        EXPECT_GE(worst(m_white, 1, fill), minimum);
        EXPECT_GE(worst(m_white, number("quietOpacity"), fill), minimum);
        EXPECT_GE(worst(m_white, number("symbolButtonOpacity"), fill), minimum);
        EXPECT_GE(worst(color("errorIcon"), 1, fill), minimum);
    }
}

TEST_F(OverlayStyleContrast, WordsOfThePanelsCanBeReadAsTheyComeOutOfTheBox) {
    const SrgbColor fill = OverlaySurface{AppSettings(), false}.painted(false);
    EXPECT_GE(worst(m_white, 1, fill), minimum);
    EXPECT_GE(worst(m_white, number("quietOpacity"), fill), minimum);
    EXPECT_GE(worst(m_white, number("calloutOpacity"), fill), minimum);
    EXPECT_GE(worst(m_white, number("symbolButtonOpacity"), fill), minimum);
}

TEST_F(OverlayStyleContrast, WordsOfATipCanBeRead) {
    EXPECT_GE(worst(color("tipText"), 1, color("tipFill")), minimum);
    EXPECT_EQ(color("tipFill").opacity, 1) << "it lies over other words";
}

TEST_F(OverlayStyleContrast, WhatActsHasTheColourOfThePalette) {
    const auto accent = LumivaneTheme::accentFill.dark;
    for (const char* name : {"accountIcon", "defaultButtonFill"}) {
        EXPECT_NEAR(color(name).red, accent.red, 1e-3) << name;
        EXPECT_NEAR(color(name).green, accent.green, 1e-3) << name;
        EXPECT_NEAR(color(name).blue, accent.blue, 1e-3) << name;
    }
}

} // namespace lumivane
