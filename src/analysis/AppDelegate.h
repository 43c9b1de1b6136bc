#pragma once

#include "analysis/AppModel.h"
#include "analysis/CommandLine.h"
#include "analysis/LumivaneMainMenu.h"
#include "async/Clock.h"
#include "async/TaskHandle.h"
#include "domain/ApplicationInformation.h"
#include "platform/ApplicationShell.h"
#include "platform/LoginItem.h"
#include "platform/UserDefaults.h"

#include <QStringList>

#include <functional>
#include <optional>
#include <stop_token>

namespace lumivane {

/// Everything that the delegate reaches. All of it, the shared model included, outlives the
/// delegate.
struct AppDelegatePorts {
    QStringList arguments;
    ApplicationInformation information;
    LoginItem& loginItem;
    UserDefaults& standardDefaults;
    ApplicationShell& application;
    Clock& clock;

    /// The process's one model, made at the first call. With a maintenance switch it is never
    /// called, so nothing that the model stands on has to be there.
    std::function<AppModel&()> sharedModel;

    /// Makes the item in the tray, which stays for the life of the process. Called once at most.
    std::function<void(AppModel&)> createStatusItem;

    /// Has the model look at the system's permissions anew.
    std::function<void(AppModel&)> refreshSystemState;
};

/// Hears of the process's own events and wires the program together. Main thread only. The
/// composition root makes it, calls its operations, and keeps it for the whole of the event loop.
///
/// What an event starts runs in a later turn of the event loop, and not at all once the process is
/// about to end, or when it was started for maintenance only.
class AppDelegate {
public:
    explicit AppDelegate(AppDelegatePorts ports);
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    /// Called once, first, when the application object is there. With a maintenance switch it does
    /// that one job and asks the application to end; otherwise it starts the program.
    void applicationDidFinishLaunching();

    /// Whether a job of maintenance could not be done. A login item that stays is none: whoever
    /// uninstalls goes on whatever the desktop says.
    bool hasMaintenanceFailed() const { return m_hasMaintenanceFailed; }

    /// The user came to one of the program's windows.
    void applicationDidBecomeActive();

    /// The user opened the program while it was running, which always shows the settings. True: the
    /// wish was met.
    bool applicationShouldHandleReopen();

    /// The event loop is about to end.
    void applicationWillTerminate();

    /// The menu of all text fields; none before the launch.
    const std::optional<MainMenu>& mainMenu() const { return m_mainMenu; }

private:
    bool performMaintenance();
    void unregisterLoginItem();
    void resetSettings();
    void startTask(std::function<void(AppModel&)> work);
    static QCoro::Task<void> withModel(std::function<AppModel&()> sharedModel,
                                       std::function<void(AppModel&)> work, std::stop_token ending);
    static QCoro::Task<void> launch(AppDelegatePorts ports, bool launchedAsLoginItem,
                                    std::stop_token stop);

    AppDelegatePorts m_ports;
    CommandLine m_commandLine;
    std::optional<MainMenu> m_mainMenu;
    bool m_hasMaintenanceFailed = false;
    std::stop_source m_ending;
    TaskHandle m_launchTask;
};

} // namespace lumivane
