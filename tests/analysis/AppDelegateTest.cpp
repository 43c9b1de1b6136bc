#include "analysis/AppDelegate.h"

#include "support/AppModelFixture.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <system_error>

namespace lumivane {

using namespace std::chrono_literals;
using test::drainEvents;
using test::Journal;

namespace {

class JournalledLoginItem final : public LoginItem {
public:
    explicit JournalledLoginItem(Journal& journal)
        : m_journal(journal) {}

    LoginItemStatus status() const override { return LoginItemStatus::enabled; }

    void registerItem() override { m_journal.add(u"register"_qs); }

    void unregisterItem() override {
        m_journal.add(u"unregister"_qs);
        if (fails) {
            throw std::system_error(std::make_error_code(std::errc::read_only_file_system));
        }
    }

    bool fails = false;

private:
    Journal& m_journal;
};

class JournalledDefaults final : public UserDefaults {
public:
    explicit JournalledDefaults(Journal& journal)
        : m_journal(journal) {}

    std::optional<QByteArray> data(const QString&) const override { return std::nullopt; }

    void set(const QByteArray&, const QString&) override { m_journal.add(u"set"_qs); }

    void removeObject(const QString&) override { m_journal.add(u"removeObject"_qs); }

    void removePersistentDomain() override {
        m_journal.add(u"removePersistentDomain"_qs);
        if (fails) {
            throw std::system_error(std::make_error_code(std::errc::read_only_file_system),
                                    "/home/someone/secret");
        }
    }

    bool fails = false;

private:
    Journal& m_journal;
};

class JournalledShell final : public ApplicationShell {
public:
    explicit JournalledShell(Journal& journal)
        : m_journal(journal) {}

    void setAppearance(Appearance) override { m_journal.add(u"setAppearance"_qs); }

    void terminate() override { m_journal.add(u"terminate"_qs); }

private:
    Journal& m_journal;
};

} // namespace

class AppDelegateTest : public test::AppModelTest {
protected:
    AppDelegateTest() {
        settings.showInMenuBar = true;
        settings.activationMode = ActivationMode::hotkey; // no poll among the timers
    }

    /// Flows that a test left waiting end with it.
    ~AppDelegateTest() override {
        delegate.reset();
        drainEvents();
    }

    /// A delegate before its launch. The model stands ready; whoever asks for it is written down.
    AppDelegate& makeDelegate(const QStringList& arguments = {}) {
        make();
        delegate.emplace(
            AppDelegatePorts{.arguments = QStringList{u"lumivane"_qs} + arguments,
                             .information = information,
                             .loginItem = loginItem,
                             .standardDefaults = defaults,
                             .application = application,
                             .clock = clock,
                             .sharedModel = [this]() -> AppModel& { return sharedModel(); },
                             .createStatusItem =
                                 [this](AppModel& created) {
                                     EXPECT_EQ(&created, model.get());
                                     journal.add(u"createStatusItem"_qs);
                                 },
                             .refreshSystemState =
                                 [this](AppModel& refreshed) {
                                     EXPECT_EQ(&refreshed, model.get());
                                     journal.add(u"refreshSystemState"_qs);
                                 }});
        return *delegate;
    }

    /// A whole launch, as far as it goes without time passing.
    void launch(const QStringList& arguments = {}) {
        makeDelegate(arguments).applicationDidFinishLaunching();
        drainEvents();
    }

    AppModel& sharedModel() {
        journal.add(u"sharedModel"_qs);
        return *model;
    }

    /// What was asked for besides what the started model does by itself.
    QStringList steps() const {
        QStringList steps = journal.entries();
        // What the model does with its start is its own affair.
        for (const QString& own :
             {u"warmUp"_qs, u"health"_qs, u"registerHotKey 14"_qs, u"restore"_qs}) {
            steps.removeAll(own);
        }
        return steps;
    }

    std::vector<std::string> lifecycle() const { return log.texts("lifecycle"); }

    JournalledLoginItem loginItem{journal};
    JournalledDefaults defaults{journal};
    JournalledShell application{journal};
    ApplicationInformation information{.CFBundleShortVersionString = u"0.3.0"_qs,
                                       .LumivaneAPIBaseURL = std::nullopt};
    std::optional<AppDelegate> delegate;
};

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
                         .application = application,
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

// Maintenance

TEST_F(AppDelegateTest, UnregisteringRemovesTheLoginItemAndEnds) {
    launch({u"--unregister-login-item"_qs});
    EXPECT_EQ(journal.entries(), QStringList({u"unregister"_qs, u"terminate"_qs}));
    EXPECT_EQ(
        logged("lifecycle", LogLevel::info, "Unregistering launch at login from command line"), 1);
    EXPECT_EQ(lifecycle(),
              std::vector<std::string>({"App model initialized", "Lumivane launched; version=0.3.0",
                                        "Unregistering launch at login from command line"}));
}

TEST_F(AppDelegateTest, AFailedUnregisteringEndsAllTheSameWithoutAWord) {
    loginItem.fails = true;
    launch({u"--unregister-login-item"_qs});
    EXPECT_EQ(journal.entries(), QStringList({u"unregister"_qs, u"terminate"_qs}));
    EXPECT_EQ(lifecycle().size(), 3U);
}

TEST_F(AppDelegateTest, ResettingRemovesTheWholeDomainAndEnds) {
    launch({u"--reset-settings"_qs});
    EXPECT_EQ(journal.entries(), QStringList({u"removePersistentDomain"_qs, u"terminate"_qs}));
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Resetting settings from command line"), 1);
    EXPECT_EQ(lifecycle().size(), 3U);
}

TEST_F(AppDelegateTest, ResettingNeverMakesModelOrStatusItem) {
    launch({u"--reset-settings"_qs});
    delegate->applicationDidBecomeActive();
    EXPECT_TRUE(delegate->applicationShouldHandleReopen());
    drainEvents();
    clock.advance(60s);
    EXPECT_EQ(journal.entries(), QStringList({u"removePersistentDomain"_qs, u"terminate"_qs}));
}

TEST_F(AppDelegateTest, AnEventInTheTurnOfTheMaintenanceMakesNoModelEither) {
    makeDelegate({u"--unregister-login-item"_qs});
    delegate->applicationShouldHandleReopen();
    delegate->applicationDidFinishLaunching();
    drainEvents();
    EXPECT_EQ(journal.entries(), QStringList({u"unregister"_qs, u"terminate"_qs}));
}

TEST_F(AppDelegateTest, AFailedResetIsLoggedByItsTypeAndEndsAllTheSame) {
    defaults.fails = true;
    launch({u"--reset-settings"_qs});
    EXPECT_EQ(journal.entries(), QStringList({u"removePersistentDomain"_qs, u"terminate"_qs}));
    EXPECT_EQ(log.countStartingWith("Resetting settings failed; errorType="), 1);
    EXPECT_TRUE(log.holds("system_error"));
    EXPECT_FALSE(log.holds("secret"));
    EXPECT_TRUE(delegate->hasMaintenanceFailed());
}

TEST_F(AppDelegateTest, NothingButAFailedResetIsAFailedMaintenance) {
    launch();
    EXPECT_FALSE(delegate->hasMaintenanceFailed());
    launch({u"--reset-settings"_qs});
    EXPECT_FALSE(delegate->hasMaintenanceFailed());
    loginItem.fails = true;
    defaults.fails = true;
    launch({u"--unregister-login-item"_qs});
    EXPECT_FALSE(delegate->hasMaintenanceFailed());
}

TEST_F(AppDelegateTest, WithBothSwitchesOnlyUnregisteringActs) {
    for (const QStringList& arguments :
         {QStringList{u"--unregister-login-item"_qs, u"--reset-settings"_qs},
          QStringList{u"--reset-settings"_qs, u"--unregister-login-item"_qs}}) {
        journal.clear();
        launch(arguments);
        EXPECT_EQ(journal.entries(), QStringList({u"unregister"_qs, u"terminate"_qs}));
        EXPECT_FALSE(log.holds("Resetting settings from command line"));
    }
}

TEST_F(AppDelegateTest, SwitchesOfMaintenanceCountOnlyAsExactMatches) {
    launch({u"--reset-settings=1"_qs, u"--Unregister-Login-Item"_qs, u"reset-settings"_qs});
    EXPECT_EQ(steps(), QStringList({u"sharedModel"_qs, u"createStatusItem"_qs}));
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
