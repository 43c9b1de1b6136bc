#pragma once

#include "analysis/AppModel.h"
#include "support/AppModelFakes.h"
#include "support/EventLoop.h"
#include "support/FakeDisplayServer.h"
#include "support/FakeHotKeyRegistrar.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <memory>

namespace lumivane::test {

inline constexpr std::uint32_t mainDisplay = 7;
inline constexpr std::uint32_t otherDisplay = 8;

/// A model over fakes: signed in, set up, Screen Summary in Hyper Private mode, everything
/// answering at once.
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
        notifications.copied.cancelPending();
        drainEvents();
    }

    /// The model with the present `settings`; nothing of its making stays in the journal.
    AppModel& make() { return makeWith(service); }

    /// The same over another service.
    AppModel& makeWith(AnalysisServing& otherService) {
        model = std::make_unique<AppModel>(
            AppModelPorts{otherService, capture, capture, reducer, extractor, notifications, notes,
                          pasteboard, sound, displays, triggers, overlays, overlayPasteboard,
                          session, presenter, clock},
            settings);
        drainEvents();
        journal.clear();
        return *model;
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
    TriggerController triggers{hotKeys, displays, clock};
    AppSettings settings;
    std::unique_ptr<AppModel> model;
};

} // namespace lumivane::test
