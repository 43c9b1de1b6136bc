#include "analysis/AppDelegate.h"

#include "analysis/AppLaunchBehavior.h"
#include "telemetry/LumivaneLog.h"

#include <utility>

namespace lumivane {

using namespace std::chrono_literals;

AppDelegate::AppDelegate(AppDelegatePorts ports)
    : m_ports(std::move(ports))
    , m_commandLine(CommandLine::of(m_ports.arguments)) {}

AppDelegate::~AppDelegate() { m_ending.request_stop(); }

void AppDelegate::applicationDidFinishLaunching() {
    m_mainMenu = LumivaneMainMenu::make();
    const bool launchedAsLoginItem = m_commandLine.launchedAsLoginItem;
    LumivaneLog::lifecycle.log(
        "Lumivane launched; version=%{public}s",
        LogIdentifier(m_ports.information.CFBundleShortVersionString.value_or(u"unknown"_qs)));
    if (performMaintenance()) {
        m_ports.application.terminate();
        return;
    }
    m_launchTask = TaskHandle::start([ports = m_ports, launchedAsLoginItem](std::stop_token stop) {
        return launch(ports, launchedAsLoginItem, std::move(stop));
    });
}

bool AppDelegate::performMaintenance() {
    if (m_commandLine.unregisterLoginItem) {
        unregisterLoginItem();
    } else if (m_commandLine.resetSettings) {
        resetSettings();
    } else {
        return false;
    }
    m_ending.request_stop();
    return true;
}

void AppDelegate::unregisterLoginItem() {
    LumivaneLog::lifecycle.info("Unregistering launch at login from command line");
    try {
        m_ports.loginItem.unregisterItem();
    } catch (const std::exception&) {
        // An uninstallation goes on whatever the desktop says.
    }
}

void AppDelegate::resetSettings() {
    LumivaneLog::lifecycle.info("Resetting settings from command line");
    try {
        m_ports.standardDefaults.removePersistentDomain();
    } catch (const std::exception& error) {
        m_hasMaintenanceFailed = true;
        LumivaneLog::lifecycle.error("Resetting settings failed; errorType=%{public}s",
                                     LogTypeName(error));
    }
}

QCoro::Task<void> AppDelegate::launch(AppDelegatePorts ports, bool launchedAsLoginItem,
                                      std::stop_token stop) {
    // The process may have been told to end between the launch and this turn.
    if (stop.stop_requested()) {
        co_return;
    }
    AppModel& model = ports.sharedModel();
    ports.createStatusItem(model);
    model.start();
    if (!AppLaunchBehavior::shouldPresentSettingsAfterLaunch(model.settings(),
                                                             launchedAsLoginItem)) {
        co_return;
    }
    co_await ports.clock.sleep(250ms, stop);
    // A stop that comes with the end of the wait does not undo it.
    if (!stop.stop_requested()) {
        model.presentSettings(SettingsDestination::general);
    }
}

void AppDelegate::startTask(std::function<void(AppModel&)> work) {
    TaskHandle::detach([sharedModel = m_ports.sharedModel, work = std::move(work),
                        ending = m_ending.get_token()](std::stop_token) {
        return withModel(sharedModel, work, ending);
    });
}

QCoro::Task<void> AppDelegate::withModel(std::function<AppModel&()> sharedModel,
                                         std::function<void(AppModel&)> work,
                                         std::stop_token ending) {
    if (!ending.stop_requested()) {
        work(sharedModel());
    }
    co_return;
}

void AppDelegate::applicationDidBecomeActive() { startTask(m_ports.refreshSystemState); }

bool AppDelegate::applicationShouldHandleReopen() {
    startTask([](AppModel& model) { model.presentSettings(SettingsDestination::general); });
    return true;
}

void AppDelegate::applicationWillTerminate() {
    LumivaneLog::lifecycle.log("Lumivane terminating");
    m_ending.request_stop();
    m_launchTask.cancel();
}

} // namespace lumivane
