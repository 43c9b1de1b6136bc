#include "platform/linux/ScreenScales.h"

#include <QGuiApplication>
#include <QScreen>

#include <gtest/gtest.h>

namespace lumivane {

namespace {

// Before the application object is made, which reads it once.
[[maybe_unused]] const bool isScaled = qputenv("QT_SCALE_FACTOR", "2");

} // namespace

TEST(ScreenScales, KnowsTheToolkitsScreens) {
    const ScreenScales scales;
    const QScreen* screen = QGuiApplication::primaryScreen();
    ASSERT_EQ(screen->devicePixelRatio(), 2.0);
    EXPECT_EQ(scales.scaleOf(screen->name()), 2.0);
}

TEST(ScreenScales, AnUnknownScreenHasOnePixelPerPoint) {
    const ScreenScales scales;
    EXPECT_EQ(scales.scaleOf(u"no such screen"_qs), 1.0);
}

} // namespace lumivane
