#pragma once

#include "platform/linux/XcbConnection.h"
#include "platform/linux/XcbDisplayLayout.h"

#include <QString>

#include <xcb/randr.h>

#include <functional>
#include <unordered_map>

namespace lumivane {

/// Pixels per point of a monitor, by its name. Called on whichever thread asks the server; must
/// not wait for another thread.
using MonitorScale = std::function<double(const QString& monitorName)>;

/// What one connection can be asked about monitors, panels and pointer. Not locked.
class XcbDesktop {
public:
    /// `connection` outlives it. Throws DisplayServerError on a server without monitors.
    XcbDesktop(const XcbConnection& connection, MonitorScale scaleOf);

    /// Throws DisplayServerError.
    XcbDisplayLayout layout();

    // The same in steps, for callers that have more to ask at once. `monitors` leaves scales at 1.
    xcb_randr_get_monitors_cookie_t requestMonitors() const;
    std::vector<XcbMonitor> monitors(xcb_randr_get_monitors_cookie_t cookie) const;

    /// Asks for the scale of a monitor, and the server for its name when it is a new one.
    double scale(xcb_atom_t monitorName);

    /// What the windows of the window manager's list reserve; none without a window manager.
    std::vector<XcbStrut> struts() const;

    /// The size of the root window now.
    QSize rootSize() const;

    /// In steps too. In pixels; none while the pointer is on another screen of the server.
    xcb_query_pointer_cookie_t requestPointer() const;
    std::optional<QPoint> pointer(xcb_query_pointer_cookie_t cookie) const;

private:
    const XcbConnection& m_connection;
    MonitorScale m_scaleOf;
    xcb_atom_t m_clientList;
    xcb_atom_t m_strut;
    xcb_atom_t m_strutPartial;
    std::unordered_map<xcb_atom_t, QString> m_names; ///< an atom's name never changes
};

} // namespace lumivane
