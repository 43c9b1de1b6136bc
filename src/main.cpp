// The composition root: the one place that knows every class.

#include "analysis/AppModel.h"
#include "async/MainThread.h"
#include "async/SystemClock.h"
#include "notes/FolderNotesService.h"
#include "overlays/OverlayCoordinator.h"
#include "overlays/OverlayPasteboard.h"
#include "overlays/OverlayViews.h"
#include "overlays/qml/OverlayViewsInstall.h"
#include "platform/linux/AtspiAnnouncer.h"
#include "platform/linux/CompositorWatch.h"
#include "platform/linux/DesktopAccessibilitySettings.h"
#include "platform/linux/LinuxFileStaging.h"
#include "platform/linux/QtHttpTransport.h"
#include "platform/linux/QtImageCodec.h"
#include "platform/linux/QtPasteboard.h"
#include "platform/linux/QtSoundPlayer.h"
#include "platform/linux/QuickPanelHost.h"
#include "platform/linux/RecognitionLanguages.h"
#include "platform/linux/ScreenScales.h"
#include "platform/linux/SessionBusProbe.h"
#include "platform/linux/SystemLogSink.h"
#include "platform/linux/TerminationSignals.h"
#include "platform/linux/TesseractRecogniser.h"
#include "platform/linux/XcbDisplayServer.h"
#include "platform/linux/XcbHotKeyRegistrar.h"
#include "provisional/DevelopmentSession.h"
#include "provisional/StandIns.h"
#include "provisional/StoredFiles.h"
#include "screen/ScreenCaptureService.h"
#include "screen/ScreenCaptureWarmUp.h"
#include "screen/ScreenImageReducer.h"
#include "screen/ScreenTextExtractor.h"
#include "service/AnalysisClient.h"
#include "telemetry/LumivaneLog.h"
#include "triggers/TriggerController.h"

#include <QApplication>
#include <QLocale>
#include <QStandardPaths>
#include <QThreadPool>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>

namespace {

using namespace lumivane;

/// Reading and encoding run side by side, and reading itself uses every core.
constexpr int workerThreads = 4;

constexpr std::chrono::seconds busPatience{2};

void logEscape(std::exception_ptr failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception& error) {
        LumivaneLog::lifecycle.error("A flow let an error escape; errorType=%{public}s",
                                     LogTypeName(error));
    } catch (...) {
        LumivaneLog::lifecycle.error("A flow let something escape that is no error");
    }
}

int run() {
    SystemClock clock;
    QThreadPool workers;
    workers.setMaxThreadCount(workerThreads);
    ScreenScales scales;
    // Before the first window of ours, so that what lies under our panels can always be read.
    XcbDisplayServer displays([&scales](const QString& name) { return scales.scaleOf(name); });
    XcbHotKeyRegistrar hotKeys;

    const std::int64_t processID = QApplication::applicationPid();
    QtImageCodec codec;
    ScreenImageReducer reducer(codec, workers);
    const QString recognitionData = RecognitionLanguages::dataFolder();
    TesseractRecogniser recogniser(
        recognitionData,
        RecognitionLanguages::fitting(recognitionData, QLocale::system().uiLanguages()));
    ScreenTextExtractor extractor(recogniser, reducer, workers, clock);
    ScreenCaptureService capture(displays, workers, processID);
    ScreenCaptureWarmUp warmUp(displays, workers, clock, processID);

    QtHttpTransport transport(clock);
    AnalysisClient client(std::nullopt, StoredFiles::applicationInformation(), transport);
    QtPasteboard pasteboard(*QApplication::clipboard());
    OverlayPasteboard overlayPasteboard(pasteboard);
    QtSoundPlayer sound;
    TriggerController triggers(hotKeys, displays, clock);

    CompositorWatch compositor;
    DesktopAccessibilitySettings accessibility(QDBusConnection::sessionBus(),
                                               [&compositor] { return compositor.isRunning(); });
    QObject::connect(&compositor, &CompositorWatch::changed, &accessibility,
                     &DesktopAccessibilitySettings::transparencySupportChanged);
    AtspiAnnouncer announcer(clock);
    OverlayViews::install(accessibility);
    QQmlEngine viewEngine;
    viewEngine.addImportPath(OverlayViews::importPath);
    QuickPanelHost panels(displays, clock, viewEngine, compositor);
    OverlayCoordinator overlays(panels, hotKeys, displays, announcer, overlayPasteboard, clock);

    LinuxFileStaging noteFiles;
    FolderNotesService notes(noteFiles, workers,
                             QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));

    // Provisional, each until the real one is built.
    SettingsOfThisProcess settingsStore;
    DisplayPermission permission(displays);
    NoLoginItem loginItem;
    NoRelaunch relaunch;
    EventLoopShell shell;
    DevelopmentSession session(StoredFiles::developmentTokenFile());
    SilentNotifications notifications;
    NoSettingsWindow settingsWindow;

    AppModel model(
        {settingsStore,  client,    capture,       warmUp,   reducer,           extractor,
         permission,     loginItem, notifications, notes,    relaunch,          pasteboard,
         sound,          displays,  triggers,      overlays, overlayPasteboard, session,
         settingsWindow, shell,     clock});
    session.onSessionCleared = [&model] { model.authenticationDidClearSession(); };
    // While the pointer waits in the corner, the recogniser loads beside the capture path.
    triggers.onDwellStart = [warmUp = triggers.onDwellStart, &workers, &recogniser] {
        warmUp();
        workers.start([&recogniser] { recogniser.prepare(); });
    };
    const TerminationSignals signalHandler([&model] { model.terminate(); });
    model.start();
    // The first panels come as fast as all later ones.
    postToMainThread([&panels] {
        panels.prepare(OverlayViews::working());
        panels.prepare(OverlayViews::result());
    });
    const int status = QApplication::exec();
    workers.clear();
    workers.waitForDone();
    return status;
}

} // namespace

int main(int argc, char** argv) {
    TerminationSignals::block();
    const bool isWithoutBus = sessionBusHangs(busPatience);
    if (isWithoutBus) {
        leaveSessionBus();
    }
    const QApplication application(argc, argv);
    QApplication::setApplicationName(u"lumivane"_qs);
    QApplication::setQuitOnLastWindowClosed(false);
    LumivaneLog::setSink(std::make_shared<SystemLogSink>(SystemLogSink::Verbosity::standard,
                                                         SystemLogSink::journalFor(STDERR_FILENO)));
    TaskHandle::setEscapeHandler(logEscape);
    if (isWithoutBus) {
        LumivaneLog::lifecycle.error("The session bus does not answer; going on without it");
    }
    try {
        return run();
    } catch (const DisplayServerError& error) {
        std::fprintf(stderr, "lumivane: %s\n", error.what());
        return 1;
    }
}
