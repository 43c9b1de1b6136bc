#include "platform/linux/XcbDesktop.h"

#include <utility>

namespace lumivane {

XcbDesktop::XcbDesktop(const XcbConnection& connection, MonitorScale scaleOf)
    : m_connection(connection)
    , m_scaleOf(std::move(scaleOf))
    , m_clientList(connection.atom("_NET_CLIENT_LIST"))
    , m_strut(connection.atom("_NET_WM_STRUT"))
    , m_strutPartial(connection.atom("_NET_WM_STRUT_PARTIAL")) {
    connection.requireExtension(xcb_randr_id, "RANDR");
    const auto version = connection.expect(xcb_randr_query_version_reply,
                                           xcb_randr_query_version(connection.raw(), 1, 5));
    if (std::pair(version->major_version, version->minor_version) < std::pair(1U, 5U)) {
        throw DisplayServerError("The display server is too old to name its monitors.");
    }
}

XcbDisplayLayout XcbDesktop::layout() {
    auto found = monitors(requestMonitors());
    for (XcbMonitor& monitor : found) {
        monitor.scale = scale(monitor.id);
    }
    return XcbDisplayLayout(std::move(found));
}

xcb_randr_get_monitors_cookie_t XcbDesktop::requestMonitors() const {
    return xcb_randr_get_monitors(m_connection.raw(), m_connection.root(), 1);
}

std::vector<XcbMonitor> XcbDesktop::monitors(xcb_randr_get_monitors_cookie_t cookie) const {
    const auto reply = m_connection.expect(xcb_randr_get_monitors_reply, cookie);
    std::vector<XcbMonitor> monitors;
    auto each = xcb_randr_get_monitors_monitors_iterator(reply.get());
    for (; each.rem > 0; xcb_randr_monitor_info_next(&each)) {
        const auto& info = *each.data;
        monitors.push_back(
            {info.name, QRect(info.x, info.y, info.width, info.height), info.primary != 0, 1});
    }
    return monitors;
}

double XcbDesktop::scale(xcb_atom_t monitorName) {
    if (!m_scaleOf) {
        return 1;
    }
    auto known = m_names.find(monitorName);
    if (known == m_names.end()) {
        const auto reply = m_connection.expect(xcb_get_atom_name_reply,
                                               xcb_get_atom_name(m_connection.raw(), monitorName));
        known = m_names
                    .emplace(monitorName, QString::fromUtf8(xcb_get_atom_name_name(reply.get()),
                                                            reply->name_len))
                    .first;
    }
    const double scale = m_scaleOf(known->second);
    return scale > 0 ? scale : 1;
}

std::vector<XcbStrut> XcbDesktop::struts() const {
    struct Asked {
        xcb_get_property_cookie_t partial;
        xcb_get_property_cookie_t whole;
    };

    const auto clients = m_connection.items(
        m_connection.requestItems(m_connection.root(), m_clientList, XCB_ATOM_WINDOW));
    std::vector<Asked> asked;
    asked.reserve(clients.size());
    for (const xcb_window_t client : clients) {
        asked.push_back({m_connection.requestItems(client, m_strutPartial, XCB_ATOM_CARDINAL),
                         m_connection.requestItems(client, m_strut, XCB_ATOM_CARDINAL)});
    }
    std::vector<XcbStrut> struts;
    for (const Asked& cookies : asked) {
        const auto partial = m_connection.items(cookies.partial);
        const auto whole = m_connection.items(cookies.whole);
        if (const auto strut = XcbStrut::fromItems(partial.size() < 12 ? whole : partial)) {
            struts.push_back(*strut);
        }
    }
    return struts;
}

QSize XcbDesktop::rootSize() const {
    const auto geometry = m_connection.expect(
        xcb_get_geometry_reply, xcb_get_geometry(m_connection.raw(), m_connection.root()));
    return {geometry->width, geometry->height};
}

xcb_query_pointer_cookie_t XcbDesktop::requestPointer() const {
    return xcb_query_pointer(m_connection.raw(), m_connection.root());
}

std::optional<QPoint> XcbDesktop::pointer(xcb_query_pointer_cookie_t cookie) const {
    const auto reply = m_connection.expect(xcb_query_pointer_reply, cookie);
    if (reply->same_screen == 0) {
        return std::nullopt;
    }
    return QPoint(reply->root_x, reply->root_y);
}

} // namespace lumivane
