#include "platform/linux/XcbConnection.h"

#include <string>

namespace lumivane {

namespace {

const xcb_screen_t* screenAt(xcb_connection_t* connection, int number) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; screens.rem > 0; --number, xcb_screen_next(&screens)) {
        if (number == 0) {
            return screens.data;
        }
    }
    return nullptr;
}

} // namespace

XcbConnection::XcbConnection(const QByteArray& displayName) {
    m_connection =
        xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &m_screenNumber);
    m_screen = isAlive() ? screenAt(m_connection, m_screenNumber) : nullptr;
    if (m_screen == nullptr) {
        xcb_disconnect(m_connection);
        throw DisplayServerError("The display server cannot be reached.");
    }
}

XcbConnection::~XcbConnection() { xcb_disconnect(m_connection); }

void XcbConnection::requireExtension(xcb_extension_t& extension, std::string_view name) const {
    const auto* data = xcb_get_extension_data(m_connection, &extension);
    if (data == nullptr || data->present == 0) {
        throwIfGone();
        throw DisplayServerError("The display server lacks the extension " + std::string(name) +
                                 ".");
    }
}

xcb_atom_t XcbConnection::atom(std::string_view name) const {
    const auto cookie =
        xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    return expect(xcb_intern_atom_reply, cookie)->atom;
}

void XcbConnection::expectSuccess(xcb_void_cookie_t cookie) const {
    const XcbReply<xcb_generic_error_t> error(xcb_request_check(m_connection, cookie));
    throwIfGone();
    if (error) {
        throwRefused();
    }
}

xcb_get_property_cookie_t XcbConnection::requestItems(xcb_window_t window, xcb_atom_t property,
                                                      xcb_atom_t type) const {
    constexpr std::uint32_t longest = 16 * 1024;
    return xcb_get_property(m_connection, 0, window, property, type, 0, longest);
}

std::vector<std::uint32_t> XcbConnection::items(xcb_get_property_cookie_t cookie) const {
    const auto reply = attempt(xcb_get_property_reply, cookie);
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

void XcbConnection::dropEvents() const {
    while (XcbReply<xcb_generic_event_t>(xcb_poll_for_event(m_connection))) {
    }
}

void XcbConnection::throwIfGone() const {
    if (!isAlive()) {
        throw DisplayServerError("The connection to the display server is lost.");
    }
}

void XcbConnection::throwRefused() {
    throw DisplayServerError("The display server refused the request.");
}

} // namespace lumivane
