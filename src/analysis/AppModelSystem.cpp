#include "analysis/AppModel.h"
#include "telemetry/LumivaneLog.h"

#include <exception>

namespace lumivane {

void AppModel::refreshSystemState() {
    const bool isFixed =
        m_testing.onboardingReady || m_testing.onboardingDenied || m_testing.configured;
    if (m_testing.isUITesting && isFixed) {
        return;
    }
    setScreenRecordingGranted(m_ports.permissionService.hasScreenRecording());
}

void AppModel::setScreenRecordingGranted(bool isGranted) {
    if (m_screenRecordingGranted != isGranted) {
        m_screenRecordingGranted = isGranted;
        Q_EMIT screenRecordingGrantedChanged();
    }
}

void AppModel::requestScreenRecording() {
    // The answer alone is not the state: what counts is what the system says afterwards.
    m_ports.permissionService.requestScreenRecording();
    refreshSystemState();
    if (m_screenRecordingGranted || m_testing.isUITesting) {
        return;
    }
    m_ports.permissionService.openScreenRecordingSettings();
}

QCoro::Task<bool> AppModel::relaunch() { return replaceProcess(Self(this)); }

QCoro::Task<bool> AppModel::replaceProcess(Self self) {
    LumivaneLog::lifecycle.log("Relaunch requested");
    try {
        co_await self->m_ports.relaunchService.relaunch();
    } catch (const std::exception& error) {
        LumivaneLog::lifecycle.error("Relaunch failed; errorType=%{public}s", LogTypeName(error));
        co_return false;
    }
    LumivaneLog::lifecycle.log("Replacement instance started; quitting this one");
    if (self && !self->m_testing.isTesting()) {
        self->terminate();
    }
    co_return true;
}

std::optional<std::uint32_t> AppModel::displayUnderPointer() const {
    const auto display = lumivane::displayUnderPointer(m_ports.displays);
    return display ? std::optional(display->displayID) : std::nullopt;
}

} // namespace lumivane
