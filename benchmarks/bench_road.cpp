// From the trigger to the request, with everything real but the recogniser's own reading, which is
// measured elsewhere, and the service: capture, crop, scaling, layout, ink and the JPEG of a frame
// of 2880x1800.
//
// bench_road [RUNS]

#include "analysis/AppModel.h"
#include "async/SystemClock.h"
#include "platform/linux/QtImageCodec.h"
#include "platform/linux/XcbDisplayServer.h"
#include "screen/ScreenCaptureService.h"
#include "screen/ScreenCaptureWarmUp.h"
#include "screen/ScreenImageReducer.h"
#include "screen/ScreenTextExtractor.h"
#include "support/AppModelFakes.h"
#include "support/EventLoop.h"
#include "support/FakeHotKeyRegistrar.h"
#include "support/XServer.h"
#include "support/XTestClient.h"

#include <QApplication>
#include <QThreadPool>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

using namespace lumivane;
using namespace lumivane::test;

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

double milliseconds(std::chrono::nanoseconds duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

int run(int runs) {
    XServer server(QSize(2880, 1800));
    XTestClient screen(server.displayName());
    screen.setWallpaper(3, QSize(2880, 1800));

    SystemClock clock;
    QThreadPool workers;
    XcbDisplayServer displays({}, server.displayName());
    const std::uint32_t displayID = displays.displays().at(0).displayID;
    QtImageCodec codec;
    ScreenImageReducer reducer(codec, workers);
    InstantRecogniser recogniser;
    ScreenTextExtractor extractor(recogniser, reducer, workers, clock);
    ScreenCaptureService capture(displays, workers, QApplication::applicationPid());
    ScreenCaptureWarmUp warmUp(displays, workers, clock, QApplication::applicationPid());

    Journal journal;
    FakeAnalysisService service(journal);
    FakeOverlays overlays(journal);
    FakeSession session(journal);
    FakeNotes notes(journal);
    FakeNotifications notifications(journal);
    FakePasteboard pasteboard(journal);
    OverlayPasteboard overlayPasteboard(pasteboard);
    FakeSound sound(journal);
    FakeSettingsPresenter presenter(journal);
    FakeHotKeyRegistrar hotKeys;
    TriggerController triggers(hotKeys, displays, clock);
    FakeSettingsStore store(journal);
    store.stored.configured = true;
    FakePermission permission(journal);
    FakeLoginService loginService(journal);
    FakeRelaunch relauncher(journal);
    FakeShell shell(journal);
    AppModel model({store,      service,           capture,      warmUp,        reducer,
                    extractor,  permission,        loginService, notifications, notes,
                    relauncher, pasteboard,        sound,        displays,      triggers,
                    overlays,   overlayPasteboard, session,      presenter,     shell,
                    clock});

    std::vector<double> times;
    for (int index = 0; index < runs; ++index) {
        const auto begin = clock.now();
        model.analyze(displayID);
        const std::size_t expected = service.requests.size() + 1;
        if (!waitUntil([&] { return service.requests.size() >= expected; })) {
            std::fputs("bench_road: a run sent nothing\n", stderr);
            return 1;
        }
        times.push_back(milliseconds(clock.now() - begin));
        drainEvents();
    }
    std::sort(times.begin(), times.end());
    const double median = times[times.size() / 2];
    const double p95 = times[times.size() * 95 / 100];
    std::printf("trigger to request, 2880x1800, without recognition, %d runs: median %.1f ms, "
                "p95 %.1f ms (bar %.0f ms): %s\n",
                runs, median, p95, barMilliseconds, median <= barMilliseconds ? "met" : "MISSED");
    return median <= barMilliseconds ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    constexpr int usualRuns = 50;
    const int runs = argc > 1 ? std::atoi(argv[1]) : usualRuns;
    return run(std::max(1, runs));
}
