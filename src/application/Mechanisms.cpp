#include "application/Mechanisms.h"

#include "application/ApplicationPalette.h"
#include "overlays/OverlayViews.h"
#include "overlays/qml/OverlayViewsInstall.h"
#include "platform/linux/RecognitionLanguages.h"
#include "platform/linux/UserFolders.h"

#include <QApplication>
#include <QLocale>

#include <algorithm>
#include <chrono>

namespace lumivane {

namespace {

/// Reading and encoding run side by side, and reading itself uses every core.
constexpr int workerThreads = 4;

constexpr std::chrono::seconds endPatience{5};
/// Of those, for a keyring whose answers have begun, in milliseconds.
constexpr int keyringPatience =
    int(std::chrono::milliseconds(SecretServiceItemStore::callLimit).count());

QString suiteFor(const TestingMode& testing) {
    return testing.isTesting() ? FileUserDefaults::testingSuite : FileUserDefaults::standardSuite;
}

} // namespace

Mechanisms::Mechanisms(const TestingMode& testing, const QProcessEnvironment& environment)
    : displays([this](const QString& name) { return scales.scaleOf(name); })
    , recogniser(RecognitionLanguages::dataFolder(),
                 RecognitionLanguages::fitting(RecognitionLanguages::dataFolder(),
                                               QLocale::system().uiLanguages()))
    , transport(clock)
    , pasteboard(*QApplication::clipboard())
    , accessibility(QDBusConnection::sessionBus(), [this] { return compositor.isRunning(); })
    , announcer(clock)
    , panels(displays, clock, viewEngine, compositor)
    , userDefaults(UserFolders::configuration() + u"/lumivane"_qs, suiteFor(testing))
    , loginItem(UserFolders::configuration(), QApplication::applicationFilePath(),
                environment.value(u"XDG_CURRENT_DESKTOP"_qs).split(u':', Qt::SkipEmptyParts))
    , notifications(QDBusConnection::sessionBus(), clock)
    , urlOpener(environment)
    , secretItems(clock, keyringWorkers)
    , deviceFacts(u"/"_qs, LinuxDeviceFacts::systemBusAddress())
    , webSession(urlOpener)
    , statusBar(QDBusConnection::sessionBus())
    , shell(applicationPalette) {
    workers.setMaxThreadCount(workerThreads);
    // The one that follows the palette, whatever the desktop says.
    QApplication::setStyle(u"fusion"_qs);
    QObject::connect(&compositor, &CompositorWatch::changed, &accessibility,
                     &DesktopAccessibilitySettings::transparencySupportChanged);
    OverlayViews::install(accessibility);
    viewEngine.addImportPath(OverlayViews::importPath);
}

Mechanisms::~Mechanisms() {
    secretItems.shutDown();
    workers.clear();
    workers.waitForDone();
    keyringWorkers.clear();
    keyringWorkers.waitForDone();
}

bool Mechanisms::endWork() {
    const MonotonicInstant deadline = clock.now() + endPatience;
    // A user who signs out and quits at once has the session removed all the same. Limits of calls
    // count in the event loop, which runs no more, so a question would stand for ever.
    if (!keyringWorkers.waitForDone(keyringPatience)) {
        secretItems.shutDown();
    }
    const auto hasEnded = [&](QThreadPool& pool) {
        pool.clear();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - clock.now());
        return pool.waitForDone(static_cast<int>(std::max(left.count(), std::int64_t(0))));
    };
    const bool areWorkersDone = hasEnded(workers);
    return hasEnded(keyringWorkers) && areWorkersDone;
}

} // namespace lumivane
