#pragma once

#include <QByteArray>
#include <QObject>

#include <xcb/xcb.h>

#include <functional>
#include <memory>
#include <vector>

namespace lumivane {

/// Notices ordinary windows that come to stand above panels, as full-screen ones do where no window
/// manager puts them in their place. What is out of a window manager's reach, such as menus and
/// screen locks, may stand above.
///
/// Looks over a connection of its own, and only while there are panels. A server that goes away
/// ends it quietly. Main thread.
class PanelStacking final : public QObject {
public:
    /// `onCovered` is called from the event loop and shall raise the panels.
    PanelStacking(const QByteArray& displayName, std::function<void()> onCovered);
    ~PanelStacking() override;

    void add(xcb_window_t panel);
    void remove(xcb_window_t panel);

private:
    class Connection;

    void drain();

    std::function<void()> m_onCovered;
    std::vector<xcb_window_t> m_panels;
    std::unique_ptr<Connection> m_connection; ///< absent without a server
};

} // namespace lumivane
