#include "domain/SettingsValidationError.h"
#include "support/AppModelFixture.h"
#include "triggers/TriggerError.h"

namespace lumivane::test {

/// The panes' way of applying settings: set up, in shortcut mode, the shortcut "cmd+alt+E" live.
class AppModelUpdateSettingsTest : public AppModelTest {
protected:
    static constexpr std::uint32_t keyE = 14;
    static constexpr std::uint32_t keyR = 15;

    AppModelUpdateSettingsTest() { settings.activationMode = ActivationMode::hotkey; }

    /// Started, with nothing of the start in the journal.
    void makeStarted() {
        make();
        start();
        journal.clear();
        hotKeys.forgetRequests();
    }

    /// Somebody else holds "cmd+alt+R".
    void occupyNewShortcut() {
        const auto live = hotKeys.hotKeys();
        ASSERT_EQ(live.size(), 1U);
        occupied = hotKeys.registerHotKey(keyR, live[0].modifiers, {1, 1}).registration;
        ASSERT_TRUE(occupied);
        hotKeys.forgetRequests();
    }

    /// How often the triggers were taken down, be it to take up others.
    int triggerStops() const {
        return log.count("trigger", LogLevel::debug, "Stopped active triggers");
    }

    AppSettings withNewShortcut() const {
        AppSettings next = model->settings();
        next.hotKey.key = u"R"_qs;
        return next;
    }

    std::vector<std::uint32_t> liveKeys() const {
        std::vector<std::uint32_t> codes;
        for (const auto& hotKey : hotKeys.hotKeys()) {
            if (hotKey.identifier.signature == TriggerController::signature) {
                codes.push_back(hotKey.keyCode);
            }
        }
        return codes;
    }

    /// Tries `next`, which fails with `Error`; the old settings and shortcut are in force after it.
    template <typename Error>
    void expectRefusal(const AppSettings& next) {
        const AppSettings old = model->settings();
        EXPECT_THROW(model->updateSettings(next), Error);
        drainEvents();
        EXPECT_EQ(model->settings(), old);
        EXPECT_TRUE(store.saved.empty());
        EXPECT_TRUE(overlays.errors.empty()) << "the pane shows it";
        EXPECT_EQ(log.countStartingWith("Applied settings change"), 0);
    }

    std::unique_ptr<HotKeyRegistration> occupied;
};

TEST_F(AppModelUpdateSettingsTest, EverythingHappensInOrder) {
    makeStarted();
    AppSettings next = withNewShortcut();
    next.launchAtLogin = false;
    next.useDarkAppearance = false;
    next.preset = Preset::leetCode;
    next.resultSeconds = 0;
    next.streamText = true;
    int changes = 0;
    QObject::connect(model.get(), &AppModel::settingsChanged, model.get(), [&] {
        ++changes;
        EXPECT_EQ(store.saved.size(), 1U) << "who hears of it finds it stored";
    });
    model->updateSettings(next);
    drainEvents();
    EXPECT_EQ(journal.entries(),
              (QStringList{u"unregisterHotKey 14"_qs, u"registerHotKey 15"_qs, u"setEnabled 0"_qs,
                           u"save"_qs, u"setAppearance light"_qs, u"prepareForLeetCodeSaving"_qs}));
    next.resultSeconds = 1;
    next.streamText = false;
    EXPECT_EQ(model->settings(), next);
    ASSERT_EQ(store.saved.size(), 1U);
    EXPECT_EQ(store.saved[0], next);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(logged("settings", LogLevel::standard, "Applied settings change"), 1);
}

TEST_F(AppModelUpdateSettingsTest, AnotherDurationLeavesTheTriggersAlone) {
    makeStarted();
    AppSettings next = model->settings();
    next.resultSeconds = 11;
    model->updateSettings(next);
    EXPECT_EQ(journal.entries(), QStringList{u"save"_qs});
    EXPECT_TRUE(hotKeys.requests().empty());
    EXPECT_EQ(liveKeys(), std::vector{keyE});
    EXPECT_EQ(model->settings().resultSeconds, 11);
}

TEST_F(AppModelUpdateSettingsTest, EachOfSixFieldsReconfiguresTheTriggersAndNoOtherDoes) {
    const std::vector<std::function<void(AppSettings&)>> triggering{
        [](AppSettings& next) { next.activationMode = ActivationMode::corner; },
        [](AppSettings& next) { next.corner = ScreenCorner::topLeft; },
        [](AppSettings& next) { next.hotKey.shift = true; },
        [](AppSettings& next) { next.cornerSize = 9; },
        [](AppSettings& next) { next.dwellSeconds = 1; },
        [](AppSettings& next) { next.pollSeconds = 0.5; },
    };
    const std::vector<std::function<void(AppSettings&)>> others{
        [](AppSettings&) {},
        [](AppSettings& next) { next.preset = Preset::mcq; },
        [](AppSettings& next) { next.customPrompt = u"else"_qs; },
        [](AppSettings& next) { next.launchAtLogin = false; },
        [](AppSettings& next) { next.showInMenuBar = false; },
        [](AppSettings& next) { next.useDarkAppearance = false; },
        [](AppSettings& next) { next.requestTimeoutSeconds = 1; },
        [](AppSettings& next) { next.deliveryMode = DeliveryMode::screen; },
        [](AppSettings& next) { next.overlayPosition = OverlayPosition::topLeft; },
        [](AppSettings& next) { next.analysisMode = AnalysisMode::hyperAccurate; },
    };
    makeStarted();
    for (const auto& change : triggering) {
        const int before = triggerStops();
        AppSettings next = settings;
        change(next);
        model->updateSettings(next);
        EXPECT_EQ(triggerStops(), before + 1) << &change - triggering.data();
        model->updateSettings(settings);
    }
    for (const auto& change : others) {
        const int before = triggerStops();
        AppSettings next = settings;
        change(next);
        model->updateSettings(next);
        EXPECT_EQ(triggerStops(), before) << &change - others.data();
    }
}

TEST_F(AppModelUpdateSettingsTest, ClampingComesBeforeTheComparison) {
    settings.dwellSeconds = 2;
    makeStarted();
    AppSettings next = model->settings();
    next.dwellSeconds = 5;
    model->updateSettings(next);
    EXPECT_TRUE(hotKeys.requests().empty()) << "2 seconds before and after";
}

TEST_F(AppModelUpdateSettingsTest, ShortcutAndCornerTakeTurns) {
    makeStarted();
    AppSettings next = model->settings();
    next.activationMode = ActivationMode::corner;
    model->updateSettings(next);
    EXPECT_EQ(journal.entries(), (QStringList{u"unregisterHotKey 14"_qs, u"save"_qs}));
    EXPECT_EQ(clock.timerCount(), 1U);
    next.activationMode = ActivationMode::hotkey;
    model->updateSettings(next);
    EXPECT_EQ(liveKeys(), std::vector{keyE});
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(AppModelUpdateSettingsTest, AShortcutThatIsNoneChangesNothing) {
    makeStarted();
    AppSettings next = model->settings();
    next.hotKey.key.clear();
    next.launchAtLogin = false;
    expectRefusal<SettingsValidationError>(next);
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AppModelUpdateSettingsTest, InCornerModeTheShortcutIsNotLookedAt) {
    settings.activationMode = ActivationMode::corner;
    makeStarted();
    AppSettings next = model->settings();
    next.hotKey.key.clear();
    model->updateSettings(next);
    EXPECT_EQ(model->settings().hotKey.key, QString());
}

TEST_F(AppModelUpdateSettingsTest, ARefusedShortcutPutsTheOldOneBack) {
    makeStarted();
    occupyNewShortcut();
    AppSettings next = withNewShortcut();
    next.launchAtLogin = false;
    expectRefusal<TriggerError>(next);
    EXPECT_EQ(journal.entries(), (QStringList{u"unregisterHotKey 14"_qs, u"refuseHotKey 15"_qs,
                                              u"registerHotKey 14"_qs}))
        << "and the login item is not asked";
    EXPECT_EQ(liveKeys(), std::vector{keyE});
    run(mainDisplay);
    EXPECT_TRUE(journal.holds(u"capture 7"_qs)) << "the model goes on";
}

TEST_F(AppModelUpdateSettingsTest, ARefusalOnTheWayBackIsIgnored) {
    makeStarted();
    hotKeys.refuseHotKeys(FakeHotKeyRegistrar::accessDenied);
    expectRefusal<TriggerError>(withNewShortcut());
    EXPECT_EQ(journal.entries(), (QStringList{u"unregisterHotKey 14"_qs, u"refuseHotKey 15"_qs,
                                              u"refuseHotKey 14"_qs}));
    EXPECT_EQ(log.countStartingWith("Trigger configuration failed"), 0);
}

TEST_F(AppModelUpdateSettingsTest, ARefusedLoginItemPutsTheOldShortcutBack) {
    makeStarted();
    launchAtLogin.isRefusing = true;
    AppSettings next = withNewShortcut();
    next.launchAtLogin = false;
    expectRefusal<DesktopError>(next);
    EXPECT_EQ(journal.entries(),
              (QStringList{u"unregisterHotKey 14"_qs, u"registerHotKey 15"_qs, u"setEnabled 0"_qs,
                           u"unregisterHotKey 15"_qs, u"registerHotKey 14"_qs}));
    EXPECT_EQ(liveKeys(), std::vector{keyE});
}

TEST_F(AppModelUpdateSettingsTest, ARefusedLoginItemAloneTouchesNoTrigger) {
    makeStarted();
    launchAtLogin.isRefusing = true;
    AppSettings next = model->settings();
    next.launchAtLogin = false;
    expectRefusal<DesktopError>(next);
    EXPECT_EQ(journal.entries(), QStringList{u"setEnabled 0"_qs});
    EXPECT_TRUE(hotKeys.requests().empty());
    EXPECT_EQ(liveKeys(), std::vector{keyE});
}

TEST_F(AppModelUpdateSettingsTest, WithBothRefusedTheFirstFailureCounts) {
    makeStarted();
    launchAtLogin.isRefusing = true;
    launchAtLogin.onRequest = [this] { hotKeys.refuseHotKeys(FakeHotKeyRegistrar::accessDenied); };
    AppSettings next = withNewShortcut();
    next.launchAtLogin = false;
    expectRefusal<DesktopError>(next);
    EXPECT_EQ(journal.entries(),
              (QStringList{u"unregisterHotKey 14"_qs, u"registerHotKey 15"_qs, u"setEnabled 0"_qs,
                           u"unregisterHotKey 15"_qs, u"refuseHotKey 14"_qs}));
    EXPECT_TRUE(liveKeys().empty()) << "never the shortcut that the settings do not name";
}

TEST_F(AppModelUpdateSettingsTest, WithShortcutAndLoginItemRefusedTheShortcutComesFirst) {
    makeStarted();
    occupyNewShortcut();
    launchAtLogin.isRefusing = true;
    AppSettings next = withNewShortcut();
    next.launchAtLogin = false;
    expectRefusal<TriggerError>(next);
    EXPECT_EQ(journal.count(u"setEnabled 0"_qs), 0);
    EXPECT_EQ(liveKeys(), std::vector{keyE});
}

TEST_F(AppModelUpdateSettingsTest, WhilePausedTheTriggersWaitForTheResumption) {
    settings.paused = true;
    makeStarted();
    const int stops = triggerStops();
    model->updateSettings(withNewShortcut());
    EXPECT_EQ(journal.entries(), QStringList{u"save"_qs});
    EXPECT_EQ(triggerStops(), stops);
    model->togglePaused();
    EXPECT_EQ(journal.entries(), (QStringList{u"save"_qs, u"save"_qs, u"registerHotKey 15"_qs}));
}

TEST_F(AppModelUpdateSettingsTest, APauseThatAPaneEndsWaitsForTheNextApplication) {
    settings.paused = true;
    makeStarted();
    AppSettings next = withNewShortcut();
    next.paused = false;
    model->updateSettings(next);
    EXPECT_TRUE(liveKeys().empty()) << "the settings before the change decide";
    EXPECT_FALSE(model->settings().paused);
}

TEST_F(AppModelUpdateSettingsTest, AnotherCornerWhilePausedIsAppliedOnResumption) {
    settings.paused = true;
    settings.activationMode = ActivationMode::corner;
    makeStarted();
    AppSettings next = model->settings();
    next.corner = ScreenCorner::topLeft;
    model->updateSettings(next);
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_EQ(log.countStartingWith("Starting hot-corner watcher"), 0);
    model->togglePaused();
    EXPECT_EQ(clock.timerCount(), 1U);
    EXPECT_EQ(log.countStartingWith("Starting hot-corner watcher; corner=topLeft"), 1);
}

TEST_F(AppModelUpdateSettingsTest, WhilePausedARefusedLoginItemTouchesNoTrigger) {
    settings.paused = true;
    launchAtLogin.isRefusing = true;
    makeStarted();
    AppSettings next = withNewShortcut();
    next.launchAtLogin = false;
    expectRefusal<DesktopError>(next);
    EXPECT_EQ(journal.entries(), QStringList{u"setEnabled 0"_qs});
}

TEST_F(AppModelUpdateSettingsTest, BeforeSetupTheTriggersWait) {
    settings.configured = false;
    makeStarted();
    const int stops = triggerStops();
    model->updateSettings(withNewShortcut());
    EXPECT_EQ(journal.entries(), QStringList{u"save"_qs});
    EXPECT_EQ(triggerStops(), stops);
    EXPECT_FALSE(model->settings().configured) << "only the wizard finishes the setup";
}

TEST_F(AppModelUpdateSettingsTest, AnEmptyPromptIsStoredAndShowsAsInvalid) {
    makeStarted();
    AppSettings next = model->settings();
    next.preset = Preset::custom;
    next.customPrompt = u"  "_qs;
    model->updateSettings(next);
    EXPECT_EQ(store.saved.at(0).customPrompt, u"  "_qs);
    EXPECT_EQ(model->readiness(), ReadinessState::invalidSettings);
}

TEST_F(AppModelUpdateSettingsTest, TheAppearanceIsAppliedOnlyWhereItDiffers) {
    makeStarted();
    AppSettings next = model->settings();
    next.useDarkAppearance = false;
    model->updateSettings(next);
    model->updateSettings(next);
    EXPECT_EQ(journal.entries(), (QStringList{u"save"_qs, u"setAppearance light"_qs, u"save"_qs}));
    EXPECT_EQ(logged("settings", LogLevel::standard, "Applied app appearance; dark=0"), 1);
}

TEST_F(AppModelUpdateSettingsTest, NotesArePreparedWhenTheirSavingBecomesActive) {
    struct Step {
        Preset preset;
        bool saves;
        int preparations;
    };

    makeStarted();
    for (const Step& step : {Step{Preset::leetCode, false, 0}, Step{Preset::leetCode, true, 1},
                             Step{Preset::leetCode, true, 1}, Step{Preset::summary, true, 1},
                             Step{Preset::summary, false, 1}, Step{Preset::leetCode, true, 2}}) {
        AppSettings next = model->settings();
        next.preset = step.preset;
        next.saveLeetCodeNotes = step.saves;
        model->updateSettings(next);
        drainEvents();
        EXPECT_EQ(journal.count(u"prepareForLeetCodeSaving"_qs), step.preparations);
    }
}

TEST_F(AppModelUpdateSettingsTest, UnderTestNoNotesArePrepared) {
    for (const bool isUITesting : {true, false}) {
        testing.isUITesting = isUITesting;
        testing.isUnitTesting = !isUITesting;
        make();
        AppSettings next = model->settings();
        next.preset = Preset::leetCode;
        model->updateSettings(next);
        drainEvents();
        EXPECT_EQ(journal.entries(), QStringList{u"save"_qs});
    }
}

TEST_F(AppModelUpdateSettingsTest, ARunKeepsItsSettingsAndGoesOn) {
    service.script.hold();
    makeStarted();
    run();
    AppSettings next = withNewShortcut();
    next.deliveryMode = DeliveryMode::clipboard;
    model->updateSettings(next);
    service.script.release(0, FakeAnalysisService::response(u"late"_qs));
    drainEvents();
    EXPECT_EQ(overlays.results.size(), 1U) << "the run's own settings show on the screen";
}

TEST_F(AppModelUpdateSettingsTest, PausingIsStoredBeforeTheTriggersStop) {
    makeStarted();
    int changes = 0;
    QObject::connect(model.get(), &AppModel::settingsChanged, model.get(), [&] { ++changes; });
    model->togglePaused();
    EXPECT_EQ(journal.entries(), (QStringList{u"save"_qs, u"unregisterHotKey 14"_qs}));
    EXPECT_TRUE(store.saved.at(0).paused);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(model->displayState(), LumivaneDisplayState::paused);
}

TEST_F(AppModelUpdateSettingsTest, AShortcutThatWasTakenWhilePausedIsShown) {
    makeStarted();
    model->togglePaused();
    hotKeys.refuseHotKeys(FakeHotKeyRegistrar::accessDenied);
    model->togglePaused();
    EXPECT_FALSE(model->settings().paused);
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].displayID, std::nullopt);
    EXPECT_EQ(logged("trigger", LogLevel::error, "Trigger configuration failed"), 1);
}

} // namespace lumivane::test
