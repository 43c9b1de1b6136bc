#include "analysis/LaunchAtLoginService.h"

#include "telemetry/LumivaneLog.h"

namespace lumivane {

bool LaunchAtLoginService::isEnabled() const { return m_item.status() == LoginItemStatus::enabled; }

void LaunchAtLoginService::setEnabled(bool enabled) {
    LumivaneLog::lifecycle.info("Updating launch at login; enabled=%{bool,public}d", enabled);
    const LoginItemStatus status = m_item.status();
    if (enabled && status != LoginItemStatus::enabled) {
        m_item.registerItem();
    } else if (!enabled && status != LoginItemStatus::notRegistered) {
        m_item.unregisterItem();
    }
    LumivaneLog::lifecycle.info("Launch at login update completed");
}

} // namespace lumivane
