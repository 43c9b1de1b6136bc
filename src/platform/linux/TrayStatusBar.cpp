#include "platform/linux/TrayStatusBar.h"

#include "platform/linux/TrayStatusItem.h"

namespace lumivane {

TrayStatusBar::TrayStatusBar(const QDBusConnection& sessionBus)
    : m_sessionBus(sessionBus) {}

std::unique_ptr<StatusItem> TrayStatusBar::statusItem() {
    return std::make_unique<TrayStatusItem>(m_sessionBus);
}

} // namespace lumivane
