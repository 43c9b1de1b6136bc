#include "analysis/AppLaunchBehavior.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

AppSettings settingsWith(bool configured, bool showInMenuBar) {
    AppSettings settings = AppSettings::defaults();
    settings.configured = configured;
    settings.showInMenuBar = showInMenuBar;
    return settings;
}

} // namespace

TEST(AppLaunchBehavior, OnlyAStartByHandWithAHiddenIconPresentsSettings) {
    for (const bool configured : {false, true}) {
        for (const bool showInMenuBar : {false, true}) {
            for (const bool launchedAsLoginItem : {false, true}) {
                const bool expected = configured && !showInMenuBar && !launchedAsLoginItem;
                EXPECT_EQ(AppLaunchBehavior::shouldPresentSettingsAfterLaunch(
                              settingsWith(configured, showInMenuBar), launchedAsLoginItem),
                          expected)
                    << configured << showInMenuBar << launchedAsLoginItem;
            }
        }
    }
}

TEST(AppLaunchBehavior, AFirstRunIsTheWizards) {
    EXPECT_FALSE(
        AppLaunchBehavior::shouldPresentSettingsAfterLaunch(settingsWith(false, false), false));
}

TEST(AppLaunchBehavior, AStartWithTheSessionStaysSilent) {
    EXPECT_FALSE(
        AppLaunchBehavior::shouldPresentSettingsAfterLaunch(settingsWith(true, false), true));
}

TEST(AppLaunchBehavior, PausedChangesNothing) {
    AppSettings settings = settingsWith(true, false);
    settings.paused = true;
    EXPECT_TRUE(AppLaunchBehavior::shouldPresentSettingsAfterLaunch(settings, false));
}

} // namespace lumivane
