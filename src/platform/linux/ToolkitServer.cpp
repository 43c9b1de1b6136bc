#include "platform/linux/ToolkitServer.h"

#include "platform/linux/XcbConnection.h"

#include <QGuiApplication>

#include <xcb/shape.h>

namespace lumivane {

namespace {

xcb_rectangle_t toRectangle(const QRect& area) {
    return {static_cast<std::int16_t>(area.x()), static_cast<std::int16_t>(area.y()),
            static_cast<std::uint16_t>(area.width()), static_cast<std::uint16_t>(area.height())};
}

} // namespace

std::unique_ptr<ToolkitServer> ToolkitServer::find() {
    // Other platforms of the toolkit may hold a connection too, but their windows are none of X.
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 == nullptr || QGuiApplication::platformName() != u"xcb"_qs
               ? nullptr
               : std::make_unique<ToolkitServer>(x11->connection());
}

ToolkitServer::ToolkitServer(xcb_connection_t* connection)
    : m_connection(connection)
    , m_screen(xcb_setup_roots_iterator(xcb_get_setup(connection)).data) {}

QString ToolkitServer::nameOf(xcb_atom_t atom) const {
    const XcbReply<xcb_get_atom_name_reply_t> reply(
        xcb_get_atom_name_reply(m_connection, xcb_get_atom_name(m_connection, atom), nullptr));
    return reply ? QString::fromUtf8(xcb_get_atom_name_name(reply.get()), reply->name_len)
                 : QString();
}

std::optional<QRect> ToolkitServer::areaOf(xcb_window_t window) const {
    const XcbReply<xcb_get_geometry_reply_t> reply(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
    return reply ? std::optional(QRect(reply->x, reply->y, reply->width, reply->height))
                 : std::nullopt;
}

void ToolkitServer::setOutline(xcb_window_t window, const std::vector<QRect>& parts) const {
    std::vector<xcb_rectangle_t> rectangles;
    rectangles.reserve(parts.size());
    for (const QRect& part : parts) {
        rectangles.push_back(toRectangle(part));
    }
    xcb_shape_rectangles(m_connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING,
                         XCB_CLIP_ORDERING_YX_BANDED, window, 0, 0,
                         static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
}

void ToolkitServer::clearOutline(xcb_window_t window) const {
    xcb_shape_mask(m_connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, window, 0, 0,
                   XCB_PIXMAP_NONE);
}

void ToolkitServer::ignorePointer(xcb_window_t window) const {
    xcb_shape_rectangles(m_connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                         XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, 0, nullptr);
}

xcb_window_t ToolkitServer::focus() const {
    const XcbReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return reply ? reply->focus : xcb_window_t(XCB_INPUT_FOCUS_POINTER_ROOT);
}

void ToolkitServer::setFocus(xcb_window_t window) const {
    // The toolkit's own request carries the time of the last event that it saw, and the server
    // ignores one that is older than the last change of focus.
    const auto cookie = xcb_set_input_focus_checked(m_connection, XCB_INPUT_FOCUS_POINTER_ROOT,
                                                    window, XCB_CURRENT_TIME);
    xcb_discard_reply(m_connection, cookie.sequence);
}

void ToolkitServer::raise(xcb_window_t window) const {
    const std::uint32_t mode = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_connection, window, XCB_CONFIG_WINDOW_STACK_MODE, &mode);
}

void ToolkitServer::lower(xcb_window_t window, xcb_window_t above) const {
    const std::uint32_t place[] = {above, XCB_STACK_MODE_BELOW};
    xcb_configure_window(m_connection, window,
                         XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE, place);
}

void ToolkitServer::unmap(xcb_window_t window) const { xcb_unmap_window(m_connection, window); }

void ToolkitServer::flush() const { xcb_flush(m_connection); }

} // namespace lumivane
