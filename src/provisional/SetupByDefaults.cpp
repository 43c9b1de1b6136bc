#include "provisional/SetupByDefaults.h"

#include "telemetry/LumivaneLog.h"

namespace lumivane {

void SetupByDefaults::presentSettings(SettingsDestination) {
    if (model->settings().configured) {
        LumivaneLog::settings.log("There is no settings window yet");
        return;
    }
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
