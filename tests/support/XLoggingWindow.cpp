#include "support/XLoggingWindow.h"

#include "support/WaitForCondition.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

namespace lumivane::test {

namespace {

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

/// Whoever takes a single key away makes the server tell so as well; the focus stays.
bool movesFocus(const xcb_generic_event_t& event) {
    const auto mode = reinterpret_cast<const xcb_focus_in_event_t&>(event).mode;
    return mode == XCB_NOTIFY_MODE_NORMAL || mode == XCB_NOTIFY_MODE_WHILE_GRABBED;
}

} // namespace

XLoggingWindow::XLoggingWindow(const QByteArray& displayName, const QRect& area, Kind kind)
    : m_connection(xcb_connect(displayName.constData(), nullptr))
    , m_window(xcb_generate_id(m_connection)) {
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    const std::uint32_t values[] = {
        screen->white_pixel, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                                 XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                 XCB_EVENT_MASK_FOCUS_CHANGE};
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, screen->root,
                      static_cast<std::int16_t>(area.x()), static_cast<std::int16_t>(area.y()),
                      static_cast<std::uint16_t>(area.width()),
                      static_cast<std::uint16_t>(area.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    constexpr std::uint32_t placedByUser = 1;
    std::uint32_t hints[18] = {placedByUser};
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, 18, hints);
    if (kind == Kind::fullScreen) {
        const xcb_atom_t state = atom("_NET_WM_STATE_FULLSCREEN");
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, atom("_NET_WM_STATE"),
                            XCB_ATOM_ATOM, 32, 1, &state);
    }
    xcb_map_window(m_connection, m_window);
    xcb_flush(m_connection);
    const bool isShown = waitForCondition([this] {
        const auto attributes = owned(xcb_get_window_attributes_reply(
            m_connection, xcb_get_window_attributes(m_connection, m_window), nullptr));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    });
    if (!isShown) {
        throw std::runtime_error("the window did not come up");
    }
}

XLoggingWindow::~XLoggingWindow() { xcb_disconnect(m_connection); }

void XLoggingWindow::takeFocus() {
    xcb_set_input_focus(m_connection, XCB_INPUT_FOCUS_PARENT, m_window, XCB_CURRENT_TIME);
    if (!waitForCondition([this] { return hasFocus(); })) {
        throw std::runtime_error("the window did not get the keyboard");
    }
}

bool XLoggingWindow::hasFocus() {
    const auto reply =
        owned(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return reply && reply->focus == m_window;
}

void XLoggingWindow::raise() {
    const std::uint32_t mode = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_connection, m_window, XCB_CONFIG_WINDOW_STACK_MODE, &mode);
    hasFocus();
}

std::vector<std::string> XLoggingWindow::takeEvents() {
    hasFocus(); // a round trip brings all that is on its way
    readEvents();
    return std::exchange(m_events, {});
}

void XLoggingWindow::close() {
    xcb_destroy_window(m_connection, m_window);
    hasFocus();
}

xcb_atom_t XLoggingWindow::atom(const char* name) {
    const auto reply = owned(xcb_intern_atom_reply(
        m_connection,
        xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

void XLoggingWindow::readEvents() {
    while (const auto event = owned(xcb_poll_for_event(m_connection))) {
        const int type = event->response_type & 0x7f;
        const std::string detail = std::to_string(event->pad0);
        switch (type) {
        case XCB_KEY_PRESS:
            m_events.push_back("key " + detail + " down");
            break;
        case XCB_KEY_RELEASE:
            m_events.push_back("key " + detail + " up");
            break;
        case XCB_BUTTON_PRESS:
            m_events.push_back("button " + detail + " down");
            break;
        case XCB_BUTTON_RELEASE:
            m_events.push_back("button " + detail + " up");
            break;
        case XCB_FOCUS_IN:
        case XCB_FOCUS_OUT:
            if (movesFocus(*event)) {
                m_events.emplace_back(type == XCB_FOCUS_IN ? "focus in" : "focus out");
            }
            break;
        default:
            break;
        }
    }
}

} // namespace lumivane::test
