#include "support/PanelDesktop.h"

#include "support/EventLoop.h"

#include <QGuiApplication>
#include <QScreen>

#include <unistd.h>
#include <xcb/res.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace lumivane::test {

namespace {

XServer* ownServer = nullptr;

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

xcb_connection_t* toolkitConnection() {
    const auto* x11 =
        qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

bool knowsScreen(const QString& name) {
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen->name() == name) {
            return true;
        }
    }
    return false;
}

} // namespace

void PanelDesktop::setServer(XServer* server) { ownServer = server; }

PanelDesktop::PanelDesktop(Manager manager)
    : m_server(*ownServer)
    , m_client(m_server.displayName())
    , m_connection(xcb_connect(m_server.displayName().constData(), nullptr))
    , m_screen(xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data) {
    if (manager == Manager::openbox) {
        m_server.startWindowManager();
    }
    // As on a desktop where nobody has done anything yet.
    xcb_set_input_focus(m_connection, XCB_INPUT_FOCUS_POINTER_ROOT, XCB_INPUT_FOCUS_POINTER_ROOT,
                        XCB_CURRENT_TIME);
    movePointer({1, 1});
}

PanelDesktop::~PanelDesktop() {
    m_server.stopCompositor();
    m_server.stopWindowManager();
    while (!m_monitors.isEmpty()) {
        removeMonitor(m_monitors.last());
    }
    xcb_disconnect(m_connection);
}

void PanelDesktop::addMonitor(const QString& name, const QRect& area) {
    m_server.addMonitor(name, area);
    m_monitors.append(name);
    if (!waitUntil([&name] { return knowsScreen(name); })) {
        throw std::runtime_error("the toolkit does not see the monitor");
    }
}

void PanelDesktop::removeMonitor(const QString& name) {
    m_server.removeMonitor(name);
    m_monitors.removeAll(name);
    if (!waitUntil([&name] { return !knowsScreen(name); })) {
        throw std::runtime_error("the toolkit still sees the monitor");
    }
}

void PanelDesktop::startCompositor() { m_server.startCompositor(); }

void PanelDesktop::stopCompositor() { m_server.stopCompositor(); }

void PanelDesktop::movePointer(const QPoint& position) {
    xcb_test_fake_input(m_connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, m_screen->root,
                        static_cast<std::int16_t>(position.x()),
                        static_cast<std::int16_t>(position.y()), 0);
    focus();
}

void PanelDesktop::click(const QPoint& position) {
    movePointer(position);
    press(1);
    release(1);
}

void PanelDesktop::press(int button) { fake(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button)); }

void PanelDesktop::release(int button) {
    fake(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button));
}

void PanelDesktop::type(xcb_keysym_t key) {
    const xcb_keycode_t code = keycodeOf(key);
    fake(XCB_KEY_PRESS, code);
    fake(XCB_KEY_RELEASE, code);
}

void PanelDesktop::holdKey(xcb_keysym_t key) { fake(XCB_KEY_PRESS, keycodeOf(key)); }

void PanelDesktop::releaseKey(xcb_keysym_t key) { fake(XCB_KEY_RELEASE, keycodeOf(key)); }

void PanelDesktop::fake(std::uint8_t type, std::uint8_t detail) {
    xcb_test_fake_input(m_connection, type, detail, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    focus();
}

xcb_keycode_t PanelDesktop::keycodeOf(xcb_keysym_t key) {
    const auto* setup = xcb_get_setup(m_connection);
    const xcb_keycode_t first = setup->min_keycode;
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - first + 1);
    const auto reply = owned(xcb_get_keyboard_mapping_reply(
        m_connection, xcb_get_keyboard_mapping(m_connection, first, count), nullptr));
    const auto* symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
    for (int code = 0; code < count; ++code) {
        if (symbols[code * reply->keysyms_per_keycode] == key) {
            return static_cast<xcb_keycode_t>(first + code);
        }
    }
    throw std::runtime_error("no such key");
}

void PanelDesktop::settle() {
    if (xcb_connection_t* toolkit = toolkitConnection()) {
        owned(xcb_get_input_focus_reply(toolkit, xcb_get_input_focus(toolkit), nullptr));
    }
}

bool PanelDesktop::holdsRequestsBack() {
    xcb_connection_t* toolkit = toolkitConnection();
    const std::uint64_t sent = xcb_total_written(toolkit);
    xcb_flush(toolkit);
    return xcb_total_written(toolkit) != sent;
}

QImage PanelDesktop::screen(const QRect& area) {
    settle();
    return m_client.screen(area);
}

QRgb PanelDesktop::pixel(const QPoint& position) {
    return screen(QRect(position, QSize(1, 1))).pixel(0, 0);
}

bool PanelDesktop::waitForPixel(const QPoint& position, QRgb color) {
    return waitUntil([&] { return ((pixel(position) ^ color) & RGB_MASK) == 0; });
}

std::vector<xcb_window_t> PanelDesktop::windows() {
    settle();
    const auto tree = owned(
        xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_screen->root), nullptr));
    const auto* first = xcb_query_tree_children(tree.get());
    std::vector<xcb_window_t> viewable;
    for (const auto* child = first; child != first + tree->children_len; ++child) {
        const auto attributes = owned(xcb_get_window_attributes_reply(
            m_connection, xcb_get_window_attributes(m_connection, *child), nullptr));
        if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE) {
            viewable.push_back(*child);
        }
    }
    return viewable;
}

std::vector<xcb_window_t> PanelDesktop::windowsAt(const QRect& area) {
    auto found = windows();
    std::erase_if(found, [&](xcb_window_t window) { return areaOf(window) != area; });
    return found;
}

QRect PanelDesktop::areaOf(xcb_window_t window) {
    settle();
    const auto reply = owned(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
    return reply ? QRect(reply->x, reply->y, reply->width, reply->height) : QRect();
}

xcb_window_t PanelDesktop::focus() {
    settle();
    const auto reply =
        owned(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return reply ? reply->focus : xcb_window_t(XCB_NONE);
}

namespace {

std::vector<std::uint32_t> basesOfThisProcess(xcb_connection_t* connection) {
    const xcb_res_client_id_spec_t spec{XCB_NONE, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto reply = owned(xcb_res_query_client_ids_reply(
        connection, xcb_res_query_client_ids(connection, 1, &spec), nullptr));
    std::vector<std::uint32_t> bases;
    auto each = xcb_res_query_client_ids_ids_iterator(reply.get());
    for (; each.rem > 0; xcb_res_client_id_value_next(&each)) {
        if (xcb_res_client_id_value_value_length(each.data) > 0 &&
            *xcb_res_client_id_value_value(each.data) == static_cast<std::uint32_t>(getpid())) {
            bases.push_back(each.data->spec.client);
        }
    }
    return bases;
}

} // namespace

std::uint32_t PanelDesktop::resourceCount() {
    settle();
    std::uint32_t count = 0;
    for (const std::uint32_t base : basesOfThisProcess(m_connection)) {
        const auto reply = owned(xcb_res_query_client_resources_reply(
            m_connection, xcb_res_query_client_resources(m_connection, base), nullptr));
        auto each = xcb_res_query_client_resources_types_iterator(reply.get());
        for (; each.rem > 0; xcb_res_type_next(&each)) {
            count += each.data->count;
        }
    }
    return count;
}

std::uint64_t PanelDesktop::pixmapBytes() {
    settle();
    std::uint64_t bytes = 0;
    for (const std::uint32_t base : basesOfThisProcess(m_connection)) {
        const auto reply = owned(xcb_res_query_client_pixmap_bytes_reply(
            m_connection, xcb_res_query_client_pixmap_bytes(m_connection, base), nullptr));
        bytes += reply->bytes;
    }
    return bytes;
}

} // namespace lumivane::test
