#include "ui/identity/LumivaneMotion.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lumivane {

namespace {

using namespace LumivaneMotion;
using namespace std::chrono_literals;

/// Where a cubic timing curve stands at `progress`, worked out from its control points.
double cubicAt(double x1, double y1, double x2, double y2, double progress) {
    const auto along = [](double first, double second, double t) {
        const double s = 1 - t;
        return 3 * s * s * t * first + 3 * s * t * t * second + t * t * t;
    };
    double low = 0;
    double high = 1;
    for (int step = 0; step < 60; ++step) {
        const double middle = (low + high) / 2;
        (along(x1, x2, middle) < progress ? low : high) = middle;
    }
    return along(y1, y2, low);
}

void expectCurve(const QEasingCurve& curve, double x1, double y1, double x2, double y2) {
    for (const double progress : {0.05, 0.1, 0.25, 0.5, 0.75, 0.9}) {
        EXPECT_NEAR(curve.valueForProgress(progress), cubicAt(x1, y1, x2, y2, progress), 2e-3)
            << progress;
    }
    EXPECT_NEAR(curve.valueForProgress(0), 0, 1e-6);
    EXPECT_NEAR(curve.valueForProgress(1), 1, 1e-6);
}

} // namespace

TEST(LumivaneMotion, DurationsAreTheseInMilliseconds) {
    EXPECT_EQ(indicatorDuration, 340ms);
    EXPECT_EQ(selectionDuration, 300ms);
    EXPECT_EQ(disclosureDuration, 280ms);
    EXPECT_EQ(reducedCrossFadeDuration, 140ms);
    EXPECT_EQ(reducedContentFadeDuration, 160ms);
    EXPECT_EQ(appearanceFadeOut, 160ms);
    EXPECT_EQ(appearanceFadeIn, 260ms);
    EXPECT_EQ(appearanceSwapDelayMilliseconds, 160);
}

TEST(LumivaneMotion, CurvesRunThroughTheirControlPoints) {
    expectCurve(timingCurve(), 0.32, 0.72, 0, 1);
    expectCurve(easeInOut(), 0.42, 0, 0.58, 1);
}

TEST(LumivaneMotion, TravelTakesTheGivenTimeUnlessReduced) {
    EXPECT_EQ(travel(false, 500ms), (Animation{500ms, timingCurve()}));
    EXPECT_EQ(travel(true, 500ms), (Animation{140ms, easeInOut()}));
}

TEST(LumivaneMotion, IndicatorAndSelectionTravel) {
    EXPECT_EQ(indicator(false), (Animation{340ms, timingCurve()}));
    EXPECT_EQ(indicator(true), (Animation{140ms, easeInOut()}));
    EXPECT_EQ(selection(false), (Animation{300ms, timingCurve()}));
    EXPECT_EQ(selection(true), (Animation{140ms, easeInOut()}));
}

TEST(LumivaneMotion, DisclosureFadesWhenReduced) {
    EXPECT_EQ(disclosure(false), (Animation{280ms, timingCurve()}));
    EXPECT_EQ(disclosure(true), (Animation{160ms, easeInOut()}));
}

TEST(LumivaneMotion, ContentFadesBothWaysAndOnlyItsTimeIsReduced) {
    EXPECT_EQ(contentFade(false, 220ms), (Animation{220ms, easeInOut()}));
    EXPECT_EQ(contentFade(true, 220ms), (Animation{160ms, easeInOut()}));
}

TEST(LumivaneMotion, TheAppearanceGoesEvenlyAndComesSoftly) {
    EXPECT_EQ(appearanceOut(), (Animation{160ms, easeInOut()}));
    EXPECT_EQ(appearanceIn(), (Animation{260ms, timingCurve()}));
}

TEST(LumivaneMotion, CurvesDiffer) { EXPECT_NE(timingCurve(), easeInOut()); }

} // namespace lumivane
