#pragma once

#include "analysis/TestingMode.h"
#include "async/SystemClock.h"
#include "platform/linux/AtspiAnnouncer.h"
#include "platform/linux/AutostartLoginItem.h"
#include "platform/linux/BrowserWebSession.h"
#include "platform/linux/CompositorWatch.h"
#include "platform/linux/DesktopAccessibilitySettings.h"
#include "platform/linux/DesktopUrlOpener.h"
#include "platform/linux/DesktopUserNotifications.h"
#include "platform/linux/FileUserDefaults.h"
#include "platform/linux/LinuxDeviceFacts.h"
#include "platform/linux/LinuxFileStaging.h"
#include "platform/linux/QtApplicationShell.h"
#include "platform/linux/QtHttpTransport.h"
#include "platform/linux/QtImageCodec.h"
#include "platform/linux/QtPasteboard.h"
#include "platform/linux/QtSoundPlayer.h"
#include "platform/linux/QuickPanelHost.h"
#include "platform/linux/ScreenScales.h"
#include "platform/linux/SecretServiceItemStore.h"
#include "platform/linux/SystemRandomSource.h"
#include "platform/linux/TesseractRecogniser.h"
#include "platform/linux/TrayStatusBar.h"
#include "platform/linux/XcbDisplayServer.h"
#include "platform/linux/XcbHotKeyRegistrar.h"

#include <QQmlEngine>
#include <QThreadPool>

#include <cstdint>

namespace lumivane {

/// What this desktop does for the program, made in the order in which one needs the other. The
/// application object exists; nothing of the program is on the screen yet, so that what lies under
/// its panels can always be read.
struct Mechanisms {
    /// `environment` is the one that the process was started with. Throws DisplayServerError.
    Mechanisms(const TestingMode& testing, const QProcessEnvironment& environment);

    /// Waits for ever for workers that are still busy; `endWork` first.
    ~Mechanisms();

    /// Waits for the workers, after everything that gives them work has gone. False when one is
    /// still busy after 5 s, as with a file system that does not answer: it may use any of these
    /// for as long as the process lives, which is then to end at once and without leaving this.
    [[nodiscard]] bool endWork();

    Mechanisms(const Mechanisms&) = delete;
    Mechanisms& operator=(const Mechanisms&) = delete;

    SystemClock clock;
    QThreadPool workers;
    QThreadPool keyringWorkers; ///< for what waits, however long, and computes nothing
    ScreenScales scales;
    XcbDisplayServer displays;
    XcbHotKeyRegistrar hotKeys;
    QtImageCodec codec;
    TesseractRecogniser recogniser;
    QtHttpTransport transport;
    QtPasteboard pasteboard;
    QtSoundPlayer sound;
    CompositorWatch compositor;
    DesktopAccessibilitySettings accessibility;
    AtspiAnnouncer announcer;
    QQmlEngine viewEngine;
    QuickPanelHost panels;
    LinuxFileStaging noteFiles;
    FileUserDefaults userDefaults;
    AutostartLoginItem loginItem;
    DesktopUserNotifications notifications;
    DesktopUrlOpener urlOpener;
    SystemRandomSource random;
    SecretServiceItemStore secretItems;
    LinuxDeviceFacts deviceFacts;
    BrowserWebSession webSession;
    TrayStatusBar statusBar;
    QtApplicationShell shell;
};

} // namespace lumivane
