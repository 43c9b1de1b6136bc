#pragma once

#include "analysis/AppModel.h"
#include "support/EventLoop.h"
#include "support/FakeAnalysisService.h"
#include "support/FakeDisplayServer.h"
#include "support/FakeHotKeyRegistrar.h"
#include "support/FakeLaunchAtLogin.h"
#include "support/FakeNotes.h"
#include "support/FakeNotifications.h"
#include "support/FakeOverlays.h"
#include "support/FakePasteboard.h"
#include "support/FakePermission.h"
#include "support/FakeRelaunch.h"
#include "support/FakeScreenServices.h"
#include "support/FakeSession.h"
#include "support/FakeSettingsPresenter.h"
#include "support/FakeSettingsStore.h"
#include "support/FakeShell.h"
#include "support/FakeSound.h"
#include "support/JournalledHotKeys.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <memory>

namespace lumivane::test {

inline constexpr std::uint32_t mainDisplay = 7;
inline constexpr std::uint32_t otherDisplay = 8;

/// A model over fakes: signed in, allowed to capture, set up, Screen Summary in Hyper Private mode,
/// everything answering at once.
class AppModelTest : public testing::Test {
protected:
    AppModelTest() {
        displays.setDisplays({{mainDisplay, {0, 0, 1440, 900}, 1, true},
                              {otherDisplay, {1440, 0, 1280, 1024}, 1, false}});
        displays.setPointer(Point{100, 100});
        settings.configured = true;
        session.onSessionCleared = [this] {
            if (model) {
                model->authenticationDidClearSession();
            }
        };
    }

    /// Flows that a test left waiting end with it.
    ~AppModelTest() override {
        model.reset();
        capture.script.cancelPending();
        extractor.script.cancelPending();
        reducer.script.cancelPending();
        service.script.cancelPending();
        service.healthScript.cancelPending();
        session.token.cancelPending();
        notes.script.cancelPending();
        notifications.authorization.cancelPending();
        notifications.copied.cancelPending();
        session.restored.cancelPending();
        relauncher.script.cancelPending();
        drainEvents();
    }

    /// The model with the present `settings` stored, as `testing` says; nothing of its making stays
    /// in the journal.
    AppModel& make() { return makeWith(service); }

    /// The same over another service.
    AppModel& makeWith(AnalysisServing& otherService) {
        store.stored = settings;
        model = std::make_unique<AppModel>(portsWith(otherService, overlays), testing);
        drainEvents();
        journal.clear();
        return *model;
    }

    AppModelPorts portsWith(AnalysisServing& otherService, OverlayPresenting& otherOverlays) {
        return {store,         otherService,      capture,       capture,       reducer,
                extractor,     permission,        launchAtLogin, notifications, notes,
                relauncher,    pasteboard,        sound,         displays,      triggers,
                otherOverlays, overlayPasteboard, session,       presenter,     shell,
                clock};
    }

    /// Starts the model and lets it come as far as it does without the passing of time.
    void start() {
        model->start();
        drainEvents();
    }

    /// One whole run, as far as it goes without the test's help.
    void run(std::uint32_t displayID = mainDisplay) {
        model->analyze(displayID);
        drainEvents();
    }

    const FakeAnalysisService::Request& onlyRequest() {
        EXPECT_EQ(service.requests.size(), 1U);
        return service.requests.at(0);
    }

    int logged(std::string_view category, LogLevel level, std::string_view text) const {
        return log.count(category, level, text);
    }

    LogCapture log;
    Journal journal;
    ManualClock clock;
    FakeDisplayServer displays;
    FakeHotKeyRegistrar hotKeys;
    JournalledHotKeys journalledHotKeys{hotKeys, journal};
    FakeSettingsStore store{journal};
    FakePermission permission{journal};
    FakeLaunchAtLogin launchAtLogin{journal};
    FakeRelaunch relauncher{journal};
    FakeShell shell{journal};
    FakeCapture capture{journal};
    FakeExtractor extractor{journal};
    FakeReducer reducer{journal};
    FakeAnalysisService service{journal};
    FakeOverlays overlays{journal};
    FakeSession session{journal};
    FakeNotes notes{journal};
    FakeNotifications notifications{journal};
    FakePasteboard pasteboard{journal};
    OverlayPasteboard overlayPasteboard{pasteboard};
    FakeSound sound{journal};
    FakeSettingsPresenter presenter{journal};
    TriggerController triggers{journalledHotKeys, displays, clock};
    AppSettings settings;
    TestingMode testing;
    std::unique_ptr<AppModel> model;
};

} // namespace lumivane::test
