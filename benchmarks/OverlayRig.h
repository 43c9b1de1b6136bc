#pragma once

#include "OverlayMeters.h"
#include "analysis/AppModel.h"
#include "overlays/OverlayCoordinator.h"
#include "platform/AccessibilitySettings.h"
#include "platform/linux/QtImageCodec.h"
#include "platform/linux/QuickPanelHost.h"
#include "platform/linux/ScreenScales.h"
#include "platform/linux/XcbDisplayServer.h"
#include "platform/linux/XcbHotKeyRegistrar.h"
#include "screen/ScreenCaptureService.h"
#include "screen/ScreenCaptureWarmUp.h"
#include "screen/ScreenImageReducer.h"
#include "screen/ScreenTextExtractor.h"
#include "support/EventLoop.h"
#include "support/FakeAnalysisService.h"
#include "support/FakeLaunchAtLogin.h"
#include "support/FakeNotes.h"
#include "support/FakeNotifications.h"
#include "support/FakePasteboard.h"
#include "support/FakePermission.h"
#include "support/FakeRelaunch.h"
#include "support/FakeSession.h"
#include "support/FakeSettingsPresenter.h"
#include "support/FakeSettingsStore.h"
#include "support/FakeShell.h"
#include "support/FakeSound.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QThreadPool>

#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace lumivane::bench {

/// Keeps nothing, since the memory of a thousand shows is measured.
class MuteAnnouncer final : public Announcer {
public:
    void announce(const QString&, AnnouncementPriority) override {}
};

/// Nothing to read, at no cost.
class InstantRecogniser final : public TextRecogniser {
public:
    std::vector<RecognisedRun> recognise(const QImage&, std::stop_token) override { return {}; }

    void prepare() override {}
};

/// A desktop without wishes.
class PlainSettings final : public AccessibilitySettings {
public:
    bool reduceMotion() const override { return false; }

    bool reduceTransparency() const override { return false; }
};

/// The coordinator and all that is under it, as in the program.
struct Panels {
    explicit Panels(MeteredApplication& itsApplication)
        : application(itsApplication) {
        engine.addImportPath(u":/qt/qml"_qs);
    }

    static QQuickWindow& window() {
        for (QWindow* candidate : QGuiApplication::topLevelWindows()) {
            auto* panel = qobject_cast<QQuickWindow*>(candidate);
            if (panel != nullptr && panel->isVisible()) {
                return *panel;
            }
        }
        throw std::runtime_error("no panel is up");
    }

    /// Runs the loop until a panel has painted a frame; when that was.
    MonotonicInstant waitForFrame() {
        if (!test::waitUntil([this] { return application.frame.has_value(); })) {
            throw std::runtime_error("a panel did not paint");
        }
        return *std::exchange(application.frame, std::nullopt);
    }

    void clear() {
        overlays.clearAll();
        test::drainEvents();
        application.frame.reset();
    }

    MeteredApplication& application;
    ScreenScales scales;
    XcbDisplayServer displays{[this](const QString& name) { return scales.scaleOf(name); }};
    const std::uint32_t displayID = displays.displays().at(0).displayID;
    MeteredClock clock;
    QQmlEngine engine;
    CompositorWatch compositor;
    QuickPanelHost host{displays, clock, engine, compositor};
    XcbHotKeyRegistrar hotKeys;
    MuteAnnouncer announcer;
    test::Journal journal;
    test::FakePasteboard blindPasteboard{journal};
    OverlayPasteboard pasteboard{blindPasteboard};
    OverlayCoordinator overlays{host, hotKeys, displays, announcer, pasteboard, clock};
    AppSettings settings;
};

/// The application model with a run that waits for its answer for ever.
struct Road {
    explicit Road(Panels& itsPanels)
        : panels(itsPanels) {
        service.script.hold();
        panels.settings.configured = true;
        store.stored = panels.settings;
        store.stored.overlayPosition = OverlayPosition::middleCenter;
        model.emplace(AppModelPorts{store,
                                    service,
                                    capture,
                                    warmUp,
                                    reducer,
                                    extractor,
                                    permission,
                                    launchAtLogin,
                                    notifications,
                                    notes,
                                    relauncher,
                                    panels.blindPasteboard,
                                    sound,
                                    panels.displays,
                                    triggers,
                                    panels.overlays,
                                    panels.pasteboard,
                                    session,
                                    presenter,
                                    shell,
                                    panels.clock});
        test::drainEvents();
    }

    ~Road() {
        model.reset();
        service.script.cancelPending();
        test::drainEvents();
    }

    Panels& panels;
    QThreadPool workers;
    QtImageCodec codec;
    ScreenImageReducer reducer{codec, workers};
    InstantRecogniser recogniser;
    ScreenTextExtractor extractor{recogniser, reducer, workers, panels.clock};
    ScreenCaptureService capture{panels.displays, workers, QGuiApplication::applicationPid()};
    ScreenCaptureWarmUp warmUp{panels.displays, workers, panels.clock,
                               QGuiApplication::applicationPid()};
    test::FakeSettingsStore store{panels.journal};
    test::FakePermission permission{panels.journal};
    test::FakeLaunchAtLogin launchAtLogin{panels.journal};
    test::FakeRelaunch relauncher{panels.journal};
    test::FakeShell shell{panels.journal};
    test::FakeAnalysisService service{panels.journal};
    test::FakeSession session{panels.journal};
    test::FakeNotes notes{panels.journal};
    test::FakeNotifications notifications{panels.journal};
    test::FakeSound sound{panels.journal};
    test::FakeSettingsPresenter presenter{panels.journal};
    TriggerController triggers{panels.hotKeys, panels.displays, panels.clock};
    std::optional<AppModel> model;
};

} // namespace lumivane::bench
