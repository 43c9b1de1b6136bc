#pragma once

#include "platform/StatusBar.h"

#include <QDBusConnection>

namespace lumivane {

/// The tray of this desktop: over the session bus where a watcher of status notifiers has a tray
/// behind it, else the one that embeds windows. An icon moves from one to the other as trays come
/// and go. No call waits for the bus.
class TrayStatusBar final : public StatusBar {
public:
    /// A bus that is not connected is one without a watcher.
    explicit TrayStatusBar(const QDBusConnection& sessionBus);

    std::unique_ptr<StatusItem> statusItem() override;

private:
    QDBusConnection m_sessionBus;
};

} // namespace lumivane
