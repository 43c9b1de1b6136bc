#include "AppDelegateFixture.h"

namespace lumivane {

using namespace std::chrono_literals;
using test::drainEvents;

class AppDelegateMaintenanceTest : public test::AppDelegateTest {};

TEST_F(AppDelegateMaintenanceTest, UnregisteringRemovesTheLoginItemAndEnds) {
    launch({u"--unregister-login-item"_qs});
    EXPECT_EQ(journal.entries(), QStringList({u"unregister"_qs, u"terminateApplication"_qs}));
    EXPECT_EQ(
        logged("lifecycle", LogLevel::info, "Unregistering launch at login from command line"), 1);
    EXPECT_EQ(lifecycle(),
              std::vector<std::string>({"App model initialized", "Lumivane launched; version=0.3.0",
                                        "Unregistering launch at login from command line"}));
}

TEST_F(AppDelegateMaintenanceTest, AFailedUnregisteringEndsAllTheSameWithoutAWord) {
    loginItem.fails = true;
    launch({u"--unregister-login-item"_qs});
    EXPECT_EQ(journal.entries(), QStringList({u"unregister"_qs, u"terminateApplication"_qs}));
    EXPECT_EQ(lifecycle().size(), 3U);
}

TEST_F(AppDelegateMaintenanceTest, ResettingRemovesTheWholeDomainAndEnds) {
    launch({u"--reset-settings"_qs});
    EXPECT_EQ(journal.entries(),
              QStringList({u"removePersistentDomain"_qs, u"terminateApplication"_qs}));
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Resetting settings from command line"), 1);
    EXPECT_EQ(lifecycle().size(), 3U);
}

TEST_F(AppDelegateMaintenanceTest, ResettingNeverMakesModelOrStatusItem) {
    launch({u"--reset-settings"_qs});
    delegate->applicationDidBecomeActive();
    EXPECT_TRUE(delegate->applicationShouldHandleReopen());
    drainEvents();
    clock.advance(60s);
    EXPECT_EQ(journal.entries(),
              QStringList({u"removePersistentDomain"_qs, u"terminateApplication"_qs}));
}

TEST_F(AppDelegateMaintenanceTest, AnEventInTheTurnOfTheMaintenanceMakesNoModelEither) {
    makeDelegate({u"--unregister-login-item"_qs});
    delegate->applicationShouldHandleReopen();
    delegate->applicationDidFinishLaunching();
    drainEvents();
    EXPECT_EQ(journal.entries(), QStringList({u"unregister"_qs, u"terminateApplication"_qs}));
}

TEST_F(AppDelegateMaintenanceTest, AFailedResetIsLoggedByItsTypeAndEndsAllTheSame) {
    defaults.fails = true;
    launch({u"--reset-settings"_qs});
    EXPECT_EQ(journal.entries(),
              QStringList({u"removePersistentDomain"_qs, u"terminateApplication"_qs}));
    EXPECT_EQ(log.countStartingWith("Resetting settings failed; errorType="), 1);
    EXPECT_TRUE(log.holds("system_error"));
    EXPECT_FALSE(log.holds("secret"));
    EXPECT_TRUE(delegate->hasMaintenanceFailed());
}

TEST_F(AppDelegateMaintenanceTest, NothingButAFailedResetIsAFailedMaintenance) {
    launch();
    EXPECT_FALSE(delegate->hasMaintenanceFailed());
    launch({u"--reset-settings"_qs});
    EXPECT_FALSE(delegate->hasMaintenanceFailed());
    loginItem.fails = true;
    defaults.fails = true;
    launch({u"--unregister-login-item"_qs});
    EXPECT_FALSE(delegate->hasMaintenanceFailed());
}

TEST_F(AppDelegateMaintenanceTest, WithBothSwitchesOnlyUnregisteringActs) {
    for (const QStringList& arguments :
         {QStringList{u"--unregister-login-item"_qs, u"--reset-settings"_qs},
          QStringList{u"--reset-settings"_qs, u"--unregister-login-item"_qs}}) {
        journal.clear();
        launch(arguments);
        EXPECT_EQ(journal.entries(), QStringList({u"unregister"_qs, u"terminateApplication"_qs}));
        EXPECT_FALSE(log.holds("Resetting settings from command line"));
    }
}

TEST_F(AppDelegateMaintenanceTest, SwitchesOfMaintenanceCountOnlyAsExactMatches) {
    launch({u"--reset-settings=1"_qs, u"--Unregister-Login-Item"_qs, u"reset-settings"_qs});
    EXPECT_EQ(steps(), QStringList({u"sharedModel"_qs, u"createStatusItem"_qs}));
}

} // namespace lumivane
