#include "analysis/PermissionService.h"

#include "telemetry/LumivaneLog.h"

#include <QUrl>

namespace lumivane {

bool PermissionService::hasScreenRecording() const { return m_displays.mayCapture(); }

bool PermissionService::requestScreenRecording() {
    LumivaneLog::lifecycle.log("Requesting Screen Recording permission");
    const bool isGranted = m_displays.mayCapture();
    LumivaneLog::lifecycle.log(
        "Screen Recording permission request completed; granted=%{bool,public}d", isGranted);
    return isGranted;
}

void PermissionService::openScreenRecordingSettings() {
    const bool isOpened = m_opener.open(QUrl(QString(screenRecordingPane)));
    LumivaneLog::lifecycle.log("Screen Recording settings pane requested; opened=%{bool,public}d",
                               isOpened);
}

} // namespace lumivane
