// From the trigger to the request, with everything real but the recogniser's own reading, which is
// measured elsewhere, and the service: capture, crop, scaling, layout, ink and the JPEG of a frame
// of 2880x1800.
//
// bench_road [RUNS]

#include "Figures.h"
#include "analysis/AppModel.h"
#include "async/SystemClock.h"
#include "platform/linux/QtImageCodec.h"
#include "platform/linux/XcbDisplayServer.h"
#include "screen/ScreenCaptureService.h"
#include "screen/ScreenCaptureWarmUp.h"
#include "screen/ScreenImageReducer.h"
#include "screen/ScreenTextExtractor.h"
#include "support/EventLoop.h"
#include "support/FakeAnalysisService.h"
#include "support/FakeHotKeyRegistrar.h"
#include "support/FakeLaunchAtLogin.h"
#include "support/FakeNotes.h"
#include "support/FakeNotifications.h"
#include "support/FakeOverlays.h"
#include "support/FakePasteboard.h"
#include "support/FakePermission.h"
#include "support/FakeRelaunch.h"
#include "support/FakeSession.h"
#include "support/FakeSettingsPresenter.h"
#include "support/FakeSettingsStore.h"
#include "support/FakeShell.h"
#include "support/FakeSound.h"
#include "support/XServer.h"
#include "support/XTestClient.h"

#include <QApplication>
#include <QThreadPool>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <vector>

namespace {

using namespace lumivane;
using namespace lumivane::test;
using namespace lumivane::bench;

constexpr double barMilliseconds = 60;

/// A page of text that costs nothing to read.
class InstantRecogniser final : public TextRecogniser {
public:
    std::vector<RecognisedRun> recognise(const QImage&, std::stop_token) override {
        std::vector<RecognisedRun> runs;
        constexpr int lines = 60;
        for (int line = 0; line < lines; ++line) {
            runs.push_back({u"The quick brown fox jumps over the lazy dog"_qs,
                            0.9F,
                            {0.1, 1 - (line + 1) / double(lines + 2), 0.6, 0.012}});
        }
        return runs;
    }

    void prepare() override {}
};

/// The application model over a desktop of its own, signed in and set up.
class Road {
public:
    Road() {
        m_screen.setWallpaper(3, m_size);
        m_store.stored.configured = true;
        m_model.emplace(AppModelPorts{
            m_store,      m_service,           m_capture,       m_warmUp,        m_reducer,
            m_extractor,  m_permission,        m_launchAtLogin, m_notifications, m_notes,
            m_relauncher, m_pasteboard,        m_sound,         m_displays,      m_triggers,
            m_overlays,   m_overlayPasteboard, m_session,       m_presenter,     m_shell,
            m_clock});
    }

    /// Milliseconds from a trigger to its request.
    double once() {
        const std::size_t expected = m_service.requests.size() + 1;
        const auto begin = meterNow();
        m_model->analyze(m_displayID);
        if (!waitUntil([&] { return m_service.requests.size() >= expected; })) {
            throw std::runtime_error("a run sent nothing");
        }
        const double time = milliseconds(meterNow() - begin);
        drainEvents();
        return time;
    }

private:
    const QSize m_size{2880, 1800};
    XServer m_server{m_size};
    XTestClient m_screen{m_server.displayName()};
    SystemClock m_clock;
    QThreadPool m_workers;
    XcbDisplayServer m_displays{{}, m_server.displayName()};
    const std::uint32_t m_displayID = m_displays.displays().at(0).displayID;
    QtImageCodec m_codec;
    ScreenImageReducer m_reducer{m_codec, m_workers};
    InstantRecogniser m_recogniser;
    ScreenTextExtractor m_extractor{m_recogniser, m_reducer, m_workers, m_clock};
    ScreenCaptureService m_capture{m_displays, m_workers, QApplication::applicationPid()};
    ScreenCaptureWarmUp m_warmUp{m_displays, m_workers, m_clock, QApplication::applicationPid()};
    Journal m_journal;
    FakeAnalysisService m_service{m_journal};
    FakeOverlays m_overlays{m_journal};
    FakeSession m_session{m_journal};
    FakeNotes m_notes{m_journal};
    FakeNotifications m_notifications{m_journal};
    FakePasteboard m_pasteboard{m_journal};
    OverlayPasteboard m_overlayPasteboard{m_pasteboard};
    FakeSound m_sound{m_journal};
    FakeSettingsPresenter m_presenter{m_journal};
    FakeHotKeyRegistrar m_hotKeys;
    TriggerController m_triggers{m_hotKeys, m_displays, m_clock};
    FakeSettingsStore m_store{m_journal};
    FakePermission m_permission{m_journal};
    FakeLaunchAtLogin m_launchAtLogin{m_journal};
    FakeRelaunch m_relauncher{m_journal};
    FakeShell m_shell{m_journal};
    std::optional<AppModel> m_model;
};

int run(int runs) {
    Road road;
    Figures times;
    for (int index = 0; index < runs; ++index) {
        times.add(road.once());
    }
    const double median = times.quantile(0.5);
    std::printf("trigger to request, 2880x1800, without recognition, %d runs: median %.1f ms, "
                "p95 %.1f ms (bar %.0f ms): %s\n",
                runs, median, times.quantile(0.95), barMilliseconds,
                median <= barMilliseconds ? "met" : "MISSED");
    return median <= barMilliseconds ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    constexpr int usualRuns = 50;
    const int runs = argc > 1 ? std::atoi(argv[1]) : usualRuns;
    try {
        return run(std::max(1, runs));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_road: %s\n", error.what());
        return 1;
    }
}
