#include "platform/linux/PanelStacking.h"

#include "platform/linux/XcbConnection.h"

#include <QSocketNotifier>

#include <algorithm>
#include <utility>

namespace lumivane {

class PanelStacking::Connection {
public:
    explicit Connection(const QByteArray& displayName)
        : m_connection(displayName)
        , m_notifier(xcb_get_file_descriptor(m_connection.raw()), QSocketNotifier::Read) {}

    QSocketNotifier& notifier() { return m_notifier; }

    void watch(bool isWatching) {
        const std::uint32_t mask =
            isWatching ? XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY : XCB_EVENT_MASK_NO_EVENT;
        xcb_change_window_attributes(m_connection.raw(), m_connection.root(), XCB_CW_EVENT_MASK,
                                     &mask);
        xcb_flush(m_connection.raw());
    }

    /// Reads what has come in; true where an ordinary window was shown or moved.
    bool hasNews() {
        bool isNews = false;
        while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection.raw())}) {
            const auto& map = reinterpret_cast<const xcb_map_notify_event_t&>(*event);
            const auto& configure = reinterpret_cast<const xcb_configure_notify_event_t&>(*event);
            isNews =
                isNews || (event->response_type == XCB_MAP_NOTIFY && map.override_redirect == 0) ||
                (event->response_type == XCB_CONFIGURE_NOTIFY && configure.override_redirect == 0);
        }
        m_connection.throwIfGone();
        return isNews;
    }

    /// Whether an ordinary window that can be seen stands above one of these.
    bool isAnyCovered(const std::vector<xcb_window_t>& panels) {
        const auto tree = m_connection.expect(
            xcb_query_tree_reply, xcb_query_tree(m_connection.raw(), m_connection.root()));
        const xcb_window_t* first = xcb_query_tree_children(tree.get());
        const xcb_window_t* end = first + tree->children_len;
        const auto* lowest = std::find_first_of(first, end, panels.begin(), panels.end());
        std::vector<xcb_get_window_attributes_cookie_t> asked;
        for (const auto* window = lowest; window != end; ++window) {
            asked.push_back(xcb_get_window_attributes(m_connection.raw(), *window));
        }
        bool isCovered = false;
        for (const auto cookie : asked) {
            const auto found = m_connection.attempt(xcb_get_window_attributes_reply, cookie);
            isCovered = isCovered || (found && found->override_redirect == 0 &&
                                      found->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT &&
                                      found->map_state == XCB_MAP_STATE_VIEWABLE);
        }
        return isCovered;
    }

private:
    XcbConnection m_connection;
    QSocketNotifier m_notifier;
};

PanelStacking::PanelStacking(const QByteArray& displayName, std::function<void()> onCovered)
    : m_onCovered(std::move(onCovered)) {
    try {
        m_connection = std::make_unique<Connection>(displayName);
    } catch (const DisplayServerError&) {
        return;
    }
    connect(&m_connection->notifier(), &QSocketNotifier::activated, this, &PanelStacking::drain);
}

PanelStacking::~PanelStacking() = default;

void PanelStacking::add(xcb_window_t panel) {
    m_panels.push_back(panel);
    if (m_connection && m_panels.size() == 1) {
        m_connection->watch(true);
    }
}

void PanelStacking::remove(xcb_window_t panel) {
    std::erase(m_panels, panel);
    if (m_connection && m_panels.empty()) {
        m_connection->watch(false);
    }
}

void PanelStacking::drain() {
    try {
        // What comes in with an answer leaves the socket silent, so it is read before waiting.
        bool isCovered = false;
        while (m_connection->hasNews() && !m_panels.empty()) {
            isCovered = m_connection->isAnyCovered(m_panels);
        }
        if (isCovered) {
            m_onCovered();
        }
    } catch (const DisplayServerError&) {
        // The notifier that is calling cannot go before it has returned.
        m_connection->notifier().setEnabled(false);
    }
}

} // namespace lumivane
