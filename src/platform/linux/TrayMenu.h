#pragma once

#include "platform/linux/TrayIcon.h"

#include <QMenu>
#include <QRect>

namespace lumivane {

/// The menu that the program shows by itself, where the tray does not. Made afresh as it opens.
class TrayMenu final : public QMenu {
    Q_OBJECT

public:
    explicit TrayMenu(TrayEvents events);

    /// Opens under `icon`, a place in points of the desktop, or over it where there is no room
    /// below.
    void open(const QRect& icon);

private:
    void rebuild();

    TrayEvents m_events;
};

} // namespace lumivane
