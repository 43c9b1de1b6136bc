// What the panels cost, on an X server of their own and with everything real but the service and
// the recogniser's own reading: how soon they are there, how long they hold up the main thread,
// and what they leave behind.
//
//   bench_overlays [SHOWS]
//
// Ends with 1 when a bar is missed.

#include "OverlayMeters.h"
#include "OverlayRig.h"
#include "overlays/qml/OverlayViewsInstall.h"
#include "support/EventLoop.h"
#include "support/XServer.h"
#include "support/XTestClient.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QWheelEvent>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

using namespace lumivane;
using namespace lumivane::test;
using namespace lumivane::bench;

constexpr QSize desktopSize(1920, 1080);
constexpr double paintedBar = 100;    ///< milliseconds, of the 95th percentile
constexpr double longAnswerBar = 100; ///< milliseconds, to the first frame
constexpr double scrollBar = 16;      ///< milliseconds without a turn of the event loop
constexpr double tickBar = 0.1;       ///< milliseconds
constexpr double syncsBar = 1;        ///< a second
constexpr double memoryBar = 1024;    ///< KiB

/// From the trigger to the frame, and to the pixels on the screen.
bool measureWorking(Panels& panels, XTestClient& screen, int shows) {
    Road road(panels);
    const QRect spot(desktopSize.width() / 2, desktopSize.height() / 2 - 40, 1, 1);
    const QRgb wallpaper = screen.screen(spot).pixel(0, 0);
    const auto isOnScreen = [&] { return screen.screen(spot).pixel(0, 0) != wallpaper; };
    Figures painted;
    Figures onScreen;
    double first = 0;
    for (int show = 0; show <= shows; ++show) {
        const MonotonicInstant begin = meterNow();
        road.model->analyze(panels.displayID);
        const double frame = milliseconds(panels.waitForFrame() - begin);
        if (!waitUntil(isOnScreen)) {
            throw std::runtime_error("a panel is not on the screen");
        }
        const double pixels = milliseconds(meterNow() - begin);
        const bool isFirst = show == 0;
        if (isFirst) {
            first = pixels;
        } else {
            painted.add(frame);
            onScreen.add(pixels);
        }
        // The run goes on as far as its request, as it does while somebody looks at the panel.
        waitUntil([&] { return road.service.script.pendingCount() > std::size_t(show); });
        panels.clear();
        if (!waitUntil([&] { return !isOnScreen(); })) {
            throw std::runtime_error("a panel stays on the screen");
        }
    }
    const double p95 = onScreen.quantile(0.95);
    return tell(p95 <= paintedBar,
                "trigger to working panel, %d shows: painted p50 %.1f ms, p95 %.1f ms; on screen "
                "p50 %.1f ms, p95 %.1f ms, the very first %.1f ms (bar p95 %.0f ms)",
                shows, painted.quantile(0.5), painted.quantile(0.95), onScreen.quantile(0.5), p95,
                first, paintedBar);
}

QString solution(int characters) {
    QString text = u"# 146. LRU Cache\n**Status:** Live / Unvalidated\n\n"_qs;
    for (int part = 1; text.size() < characters; ++part) {
        text +=
            u"## Part %1\nThe list keeps the order of use and the **map** finds the node; "
            "`touch` joins the two in *constant* time.\n\n- unlink the node from where it "
            "stands\n- link it in front of the head\n\n```cpp\nint get(int key);\n```\n\n"_qs.arg(
                part);
    }
    return text.left(characters);
}

void showSolution(Panels& panels, const QString& text) {
    panels.overlays.showResult(text, ResultKind::leetCode, std::nullopt,
                               LeetCodeAnswerStatus::liveUnvalidated, panels.displayID,
                               panels.settings, true);
}

bool measureLongAnswer(Panels& panels) {
    constexpr int rounds = 20;
    const QString text = solution(40000);
    Figures times;
    double first = 0;
    for (int round = 0; round <= rounds; ++round) {
        const MonotonicInstant begin = meterNow();
        showSolution(panels, text);
        const double time = milliseconds(panels.waitForFrame() - begin);
        if (round == 0) {
            first = time;
        } else {
            times.add(time);
        }
        panels.clear();
    }
    const double p95 = times.quantile(0.95);
    return tell(p95 <= longAnswerBar && first <= longAnswerBar,
                "first frame of an answer of 40,000 characters: p50 %.1f ms, p95 %.1f ms, the very "
                "first %.1f ms (bar %.0f ms)",
                times.quantile(0.5), p95, first, longAnswerBar);
}

/// Every step of the wheel, down the whole answer and back.
bool measureScrolling(Panels& panels) {
    constexpr int steps = 150;
    constexpr int notch = 120;
    showSolution(panels, solution(40000));
    panels.waitForFrame();
    drainEvents();
    QQuickWindow& window = Panels::window();
    const QPointF middle(window.width() / 2.0, window.height() / 2.0);
    Figures blocks;
    for (int step = 0; step < 2 * steps; ++step) {
        panels.application.longest = 0;
        panels.application.frame.reset();
        QWheelEvent wheel(middle, window.mapToGlobal(middle), QPoint(),
                          QPoint(0, step < steps ? -notch : notch), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&window, &wheel);
        panels.waitForFrame();
        blocks.add(panels.application.longest);
    }
    panels.clear();
    const double longest = blocks.quantile(1);
    return tell(longest <= scrollBar,
                "scrolling it, %zu steps: longest block of the main thread p50 %.1f ms, p95 %.1f "
                "ms, longest %.1f ms (bar %.0f ms)",
                blocks.count(), blocks.quantile(0.5), blocks.quantile(0.95), longest, scrollBar);
}

/// A countdown of 5 seconds to its end.
bool measureCountdown(Panels& panels) {
    constexpr double seconds = 5;
    AppSettings settings = panels.settings;
    settings.resultSeconds = seconds;
    panels.clock.ticks = {};
    panels.overlays.showResult(u"The harbour office opens at seven."_qs, ResultKind::text,
                               std::nullopt, std::nullopt, panels.displayID, settings, true);
    panels.waitForFrame();
    panels.application.syncs = 0;
    waitUntil([] { return QGuiApplication::topLevelWindows().isEmpty(); });
    Figures& ticks = panels.clock.ticks;
    const double rate = panels.application.syncs / seconds;
    const bool isQuiet =
        tell(rate <= syncsBar, "a countdown of 5 s: %.1f syncs of the scene a second (bar %.0f)",
             rate, syncsBar);
    const double p95 = ticks.quantile(0.95);
    return tell(p95 <= tickBar,
                "a tick of its clock, %zu ticks: p50 %.3f ms, p95 %.3f ms, longest %.3f ms (bar "
                "p95 %.1f ms)",
                ticks.count(), ticks.quantile(0.5), p95, ticks.quantile(1), tickBar) &&
           isQuiet;
}

/// One panel of each kind in turn.
void showPanel(Panels& panels, int number) {
    OverlayCoordinator& overlays = panels.overlays;
    const QString text = u"The harbour office opens at seven."_qs;
    const auto result = [&](ResultKind kind) {
        overlays.showResult(text, kind, std::nullopt, std::nullopt, panels.displayID,
                            panels.settings, false);
    };
    switch (number % 7) {
    case 0:
        return overlays.showWorking(panels.displayID, panels.settings);
    case 1:
        return result(ResultKind::text);
    case 2:
        return result(ResultKind::choice);
    case 3:
        return showSolution(panels, solution(2000));
    case 4:
        return overlays.showError(text, panels.displayID, panels.settings);
    case 5:
        return overlays.showNotesStatus(text, panels.displayID, panels.settings);
    default:
        return overlays.showDeviceEvicted(panels.displayID, DeviceEvictedOrigin::afterUpload,
                                          panels.settings, nullptr);
    }
}

/// Without a bar of their own: what the others than the working panel take to be there.
void measureKinds(Panels& panels) {
    constexpr int rounds = 20;
    const char* const names[] = {
        "working", "text", "choice", "LeetCode", "error", "notes status", "signed out elsewhere"};
    int kind = 0;
    std::printf("first frame, medians of %d:", rounds);
    for (const char* name : names) {
        Figures times;
        for (int round = 0; round < rounds; ++round) {
            const MonotonicInstant begin = meterNow();
            showPanel(panels, kind);
            times.add(milliseconds(panels.waitForFrame() - begin));
            panels.clear();
        }
        std::printf("%s %s %.1f ms", kind++ == 0 ? "" : ",", name, times.quantile(0.5));
    }
    std::printf("\n");
}

bool measureRemains(Panels& panels) {
    constexpr int warmUp = 300;
    constexpr int shows = 1000;
    const auto showAndClear = [&panels](int count) {
        for (int number = 0; number < count; ++number) {
            showPanel(panels, number);
            panels.waitForFrame();
            panels.clear();
        }
    };
    showAndClear(warmUp);
    const double memory = residentKiB();
    const int files = openFiles();
    showAndClear(shows);
    const double growth = residentKiB() - memory;
    const int moreFiles = openFiles() - files;
    return tell(growth <= memoryBar && moreFiles <= 0,
                "%d panels shown and cleared: resident memory %.0f KiB, grown by %.0f KiB (bar "
                "%.0f KiB); %d more open files (bar 0)",
                shows, memory, growth, memoryBar, moreFiles);
}

int run(MeteredApplication& application, const XServer& server, int shows) {
    XTestClient screen(server.displayName());
    screen.setWallpaper(3, desktopSize);
    PlainSettings settings;
    OverlayViews::install(settings);
    Panels panels(application);
    bool isMet = measureWorking(panels, screen, shows);
    measureKinds(panels);
    isMet = measureLongAnswer(panels) && isMet;
    isMet = measureScrolling(panels) && isMet;
    isMet = measureCountdown(panels) && isMet;
    isMet = measureRemains(panels) && isMet;
    return isMet ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    constexpr int usualShows = 200;
    const int shows = argc > 1 ? std::max(1, std::atoi(argv[1])) : usualShows;
    try {
        const XServer server(desktopSize);
        qputenv("DISPLAY", server.displayName());
        qputenv("QT_QPA_PLATFORM", "xcb");
        // Where there is a display the toolkit would start a message bus and leave it behind.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        MeteredApplication application(argc, argv);
        return run(application, server, shows);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_overlays: %s\n", error.what());
        return 1;
    }
}
