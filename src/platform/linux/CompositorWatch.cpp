#include "platform/linux/CompositorWatch.h"

#include "platform/linux/XcbConnection.h"

#include <QMetaObject>
#include <QSocketNotifier>

#include <xcb/xfixes.h>

#include <optional>
#include <string>

namespace lumivane {

/// The connection and what is known of its selection.
class CompositorWatch::Connection {
public:
    explicit Connection(const QByteArray& displayName)
        : m_connection(displayName)
        , m_notifier(xcb_get_file_descriptor(m_connection.raw()), QSocketNotifier::Read) {
        m_connection.requireExtension(xcb_xfixes_id, "XFIXES");
        m_connection.expect(xcb_xfixes_query_version_reply,
                            xcb_xfixes_query_version(m_connection.raw(), 5, 0));
        m_firstEvent = xcb_get_extension_data(m_connection.raw(), &xcb_xfixes_id)->first_event;
        const auto selection =
            m_connection.atom("_NET_WM_CM_S" + std::to_string(m_connection.screenNumber()));
        // Watching begins before the question, so that no change falls in between.
        m_connection.expectSuccess(xcb_xfixes_select_selection_input_checked(
            m_connection.raw(), m_connection.root(), selection,
            XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE));
        m_hasOwner = m_connection
                         .expect(xcb_get_selection_owner_reply,
                                 xcb_get_selection_owner(m_connection.raw(), selection))
                         ->owner != XCB_NONE;
    }

    QSocketNotifier& notifier() { return m_notifier; }

    /// Reads what has come in. Throws DisplayServerError once the server is gone.
    bool hasOwner() {
        while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection.raw())}) {
            if (event->response_type == m_firstEvent + XCB_XFIXES_SELECTION_NOTIFY) {
                const auto* notice =
                    reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event.get());
                m_hasOwner = notice->owner != XCB_NONE;
            }
        }
        m_connection.throwIfGone();
        return m_hasOwner;
    }

private:
    XcbConnection m_connection;
    QSocketNotifier m_notifier;
    std::uint8_t m_firstEvent = 0;
    bool m_hasOwner = false;
};

CompositorWatch::CompositorWatch(const QByteArray& displayName) {
    try {
        m_connection = std::make_unique<Connection>(displayName);
        m_isRunning = m_connection->hasOwner();
    } catch (const DisplayServerError&) {
        m_connection.reset();
        return;
    }
    connect(&m_connection->notifier(), &QSocketNotifier::activated, this, &CompositorWatch::drain);
}

CompositorWatch::~CompositorWatch() = default;

void CompositorWatch::drain() {
    try {
        update(m_connection->hasOwner());
    } catch (const DisplayServerError&) {
        // The notifier that is calling cannot go before it has returned.
        m_connection->notifier().setEnabled(false);
        update(false);
    }
}

void CompositorWatch::update(bool isRunning) {
    if (m_isRunning != isRunning) {
        m_isRunning = isRunning;
        Q_EMIT changed();
    }
}

} // namespace lumivane
