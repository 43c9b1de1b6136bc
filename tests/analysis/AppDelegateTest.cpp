#include "AppDelegateFixture.h"

namespace lumivane {

using namespace std::chrono_literals;
using test::AppDelegateTest;
using test::drainEvents;

// Launch

TEST_F(AppDelegateTest, ALaunchMakesTheModelThenTheStatusItemThenStarts) {
    makeDelegate().applicationDidFinishLaunching();
    EXPECT_TRUE(journal.entries().isEmpty()) << "the launch goes on in a later turn";
    drainEvents();
    EXPECT_EQ(steps(), QStringList({u"sharedModel"_qs, u"createStatusItem"_qs}));
    EXPECT_EQ(lifecycle(),
              std::vector<std::string>({"App model initialized", "Lumivane launched; version=0.3.0",
                                        "Starting app model; configured=1 paused=0",
                                        "Looked for a session; signedIn=1"}));
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Lumivane launched; version=0.3.0"), 1);
}

TEST_F(AppDelegateTest, TheStatusItemIsThereBeforeTheModelStarts) {
    makeDelegate();
    int startsBefore = -1;
    delegate.emplace(
        AppDelegatePorts{.arguments = {u"lumivane"_qs},
                         .information = information,
                         .loginItem = loginItem,
                         .standardDefaults = defaults,
                         .application = shell,
                         .clock = clock,
                         .sharedModel = [this]() -> AppModel& { return sharedModel(); },
                         .createStatusItem =
                             [this, &startsBefore](AppModel&) {
                                 startsBefore = log.countStartingWith("Starting app model");
                             },
                         .refreshSystemState = [](AppModel&) {}});
    delegate->applicationDidFinishLaunching();
    drainEvents();
    EXPECT_EQ(startsBefore, 0);
    EXPECT_EQ(log.countStartingWith("Starting app model"), 1);
}

TEST_F(AppDelegateTest, AVersionThatIsNotKnownIsLoggedAsUnknown) {
    information.CFBundleShortVersionString.reset();
    launch();
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Lumivane launched; version=unknown"), 1);
}

TEST_F(AppDelegateTest, AVersionThatLooksLikeNoneIsNotLogged) {
    information.CFBundleShortVersionString = u"my secret plan"_qs;
    launch();
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Lumivane launched; version=-"), 1);
    EXPECT_FALSE(log.holds("secret"));
}

TEST_F(AppDelegateTest, TheMainMenuIsThereFromTheLaunchOn) {
    makeDelegate();
    EXPECT_FALSE(delegate->mainMenu());
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(delegate->mainMenu(), LumivaneMainMenu::make());
}

// Settings after a launch

TEST_F(AppDelegateTest, AHiddenIconPresentsSettingsAQuarterOfASecondAfterTheLaunch) {
    settings.showInMenuBar = false;
    launch();
    clock.advance(250ms - 1ns);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs));
    clock.advance(1ns);
    EXPECT_EQ(steps(),
              QStringList({u"sharedModel"_qs, u"createStatusItem"_qs, u"presentSettings 0"_qs}));
    EXPECT_EQ(logged("settings", LogLevel::info, "Opening Lumivane configuration"), 1);
    clock.advance(60s);
    EXPECT_EQ(journal.count(u"presentSettings 0"_qs), 1);
}

TEST_F(AppDelegateTest, AVisibleIconPresentsNothing) {
    launch();
    clock.advance(60s);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(AppDelegateTest, AStartWithTheSessionShowsNothingAtAll) {
    settings.showInMenuBar = false;
    launch({u"--login-item"_qs});
    clock.advance(60s);
    EXPECT_EQ(steps(), QStringList({u"sharedModel"_qs, u"createStatusItem"_qs}));
}

TEST_F(AppDelegateTest, TheSwitchOfALoginItemCountsOnlyAsAnExactMatch) {
    settings.showInMenuBar = false;
    launch({u"--login-item=1"_qs, u"login-item"_qs});
    clock.advance(250ms);
    EXPECT_TRUE(journal.holds(u"presentSettings 0"_qs));
}

TEST_F(AppDelegateTest, AFirstRunIsLeftToTheWizard) {
    settings.configured = false;
    settings.showInMenuBar = false;
    launch();
    clock.advance(250ms);
    EXPECT_FALSE(log.holds("Opening Lumivane configuration"));
}

TEST_F(AppDelegateTest, AProcessThatEndsFirstPresentsNothing) {
    settings.showInMenuBar = false;
    launch();
    clock.advance(100ms);
    delegate->applicationWillTerminate();
    drainEvents();
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(60s);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs));
}

TEST_F(AppDelegateTest, ADelegateThatGoesFirstPresentsNothing) {
    settings.showInMenuBar = false;
    launch();
    delegate.reset();
    drainEvents();
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(60s);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs));
}

TEST_F(AppDelegateTest, AnEndInTheTurnOfTheLaunchMakesNoModel) {
    makeDelegate().applicationDidFinishLaunching();
    delegate->applicationWillTerminate();
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
}

// Later events

TEST_F(AppDelegateTest, ComingToTheFrontRefreshesTheSystemStateInALaterTurn) {
    launch();
    journal.clear();
    delegate->applicationDidBecomeActive();
    EXPECT_TRUE(journal.entries().isEmpty());
    drainEvents();
    EXPECT_EQ(steps(), QStringList({u"sharedModel"_qs, u"refreshSystemState"_qs}));
}

TEST_F(AppDelegateTest, OpeningItASecondTimeAlwaysShowsTheSettings) {
    settings.configured = false;
    launch({u"--login-item"_qs});
    journal.clear();
    EXPECT_TRUE(delegate->applicationShouldHandleReopen());
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_TRUE(delegate->applicationShouldHandleReopen());
    drainEvents();
    EXPECT_EQ(journal.count(u"presentSettings 0"_qs), 2);
}

TEST_F(AppDelegateTest, AnOpeningInTheTurnOfTheLaunchComesAfterTheStart) {
    makeDelegate().applicationDidFinishLaunching();
    delegate->applicationShouldHandleReopen();
    drainEvents();
    EXPECT_EQ(steps(), QStringList({u"sharedModel"_qs, u"createStatusItem"_qs, u"sharedModel"_qs,
                                    u"presentSettings 0"_qs}));
    std::vector<std::string> order;
    for (const auto& line : log.lines()) {
        if (line.text.starts_with("Starting app model") || line.text.starts_with("Opening")) {
            order.push_back(line.text);
        }
    }
    EXPECT_EQ(order, std::vector<std::string>({"Starting app model; configured=1 paused=0",
                                               "Opening Lumivane configuration"}));
}

TEST_F(AppDelegateTest, TheEndIsLoggedAndNothingStartsAfterIt) {
    launch();
    journal.clear();
    delegate->applicationShouldHandleReopen();
    delegate->applicationDidBecomeActive();
    delegate->applicationWillTerminate();
    drainEvents();
    delegate->applicationDidBecomeActive();
    delegate->applicationShouldHandleReopen();
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Lumivane terminating"), 1);
}

TEST_F(AppDelegateTest, EventsThatADelegateLeavesBehindDoNothing) {
    launch();
    journal.clear();
    delegate->applicationShouldHandleReopen();
    delegate->applicationDidBecomeActive();
    delegate.reset();
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
}

} // namespace lumivane
