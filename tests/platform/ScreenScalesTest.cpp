#include "platform/linux/ScreenScales.h"

#include <QGuiApplication>
#include <QScreen>

#include <gtest/gtest.h>

namespace lumivane {

TEST(ScreenScales, KnowsTheToolkitsScreens) {
    const ScreenScales scales;
    const QScreen* screen = QGuiApplication::primaryScreen();
    EXPECT_EQ(scales.scaleOf(screen->name()), screen->devicePixelRatio());
}

TEST(ScreenScales, AnUnknownScreenHasOnePixelPerPoint) {
    const ScreenScales scales;
    EXPECT_EQ(scales.scaleOf(u"no such screen"_qs), 1.0);
}

} // namespace lumivane
