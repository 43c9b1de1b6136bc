#include "provisional/SetupByDefaults.h"

#include "telemetry/LumivaneLog.h"

namespace lumivane {

void SetupByDefaults::presentSettings(SettingsDestination) {
    if (!model->settings().configured) {
        finishSetup();
    }
    LumivaneLog::settings.log("The account's window stands in for the settings");
    accountWindow->present();
}

void SetupByDefaults::finishSetup() {
    AppSettings settings = model->settings();
    settings.launchAtLogin = false;
    try {
        model->saveSettings(settings);
    } catch (const std::exception& error) {
        LumivaneLog::settings.error("The setup could not be finished; errorType=%{public}s",
                                    LogTypeName(error));
    }
}

} // namespace lumivane
