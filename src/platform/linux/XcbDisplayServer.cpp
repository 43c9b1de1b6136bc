#include "platform/linux/XcbDisplayServer.h"

#include "platform/linux/XcbDesktop.h"
#include "platform/linux/XcbStillCapture.h"

#include <mutex>

namespace lumivane {

// Two connections, so that a pointer can be read while a frame is taken, and so that the grab of
// one holds the other only in the server, for the time of a frame.

struct XcbDisplayServer::Queries {
    Queries(const QByteArray& displayName, ScaleOfMonitor scaleOf)
        : connection(displayName)
        , desktop(connection, std::move(scaleOf)) {}

    std::mutex mutex;
    XcbConnection connection;
    XcbDesktop desktop;
};

struct XcbDisplayServer::Capture {
    Capture(const QByteArray& displayName, ScaleOfMonitor scaleOf)
        : stills(displayName, std::move(scaleOf)) {}

    std::mutex mutex;
    XcbStillCapture stills;
};

XcbDisplayServer::XcbDisplayServer(ScaleOfMonitor scaleOf, const QByteArray& displayName)
    : m_queries(std::make_unique<Queries>(displayName, scaleOf))
    , m_capture(std::make_unique<Capture>(displayName, std::move(scaleOf))) {}

XcbDisplayServer::~XcbDisplayServer() = default;

bool XcbDisplayServer::mayCapture() const {
    const std::lock_guard lock(m_queries->mutex);
    const XcbConnection& connection = m_queries->connection;
    try {
        connection.dropEvents();
        constexpr std::uint32_t allPlanes = ~0U;
        const auto corner = xcb_get_image(connection.raw(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                          connection.root(), 0, 0, 1, 1, allPlanes);
        return connection.attempt(xcb_get_image_reply, corner) != nullptr;
    } catch (const DisplayServerError&) {
        return false;
    }
}

std::vector<DisplayInfo> XcbDisplayServer::displays() const {
    const std::lock_guard lock(m_queries->mutex);
    m_queries->connection.dropEvents();
    const XcbDisplayLayout layout = m_queries->desktop.layout();
    std::vector<DisplayInfo> displays;
    for (const XcbMonitor& monitor : layout.monitors()) {
        displays.push_back(layout.info(monitor));
    }
    return displays;
}

std::optional<Rect> XcbDisplayServer::visibleFrame(std::uint32_t displayID) const {
    const std::lock_guard lock(m_queries->mutex);
    try {
        m_queries->connection.dropEvents();
        const XcbDisplayLayout layout = m_queries->desktop.layout();
        const XcbMonitor* monitor = layout.find(displayID);
        if (monitor == nullptr) {
            return std::nullopt;
        }
        const QSize root = m_queries->desktop.rootSize();
        const auto struts = m_queries->desktop.struts();
        return layout.toPoints(*monitor, usableArea(monitor->area, root, struts));
    } catch (const DisplayServerError&) {
        return std::nullopt;
    }
}

std::optional<Point> XcbDisplayServer::pointerLocation() const {
    const std::lock_guard lock(m_queries->mutex);
    try {
        m_queries->connection.dropEvents();
        // Both are asked before either is waited for: the corner's watcher does this all day.
        const auto asked = m_queries->desktop.requestPointer();
        const XcbDisplayLayout layout = m_queries->desktop.layout();
        const auto position = m_queries->desktop.pointer(asked);
        const XcbMonitor* monitor = position ? layout.holding(*position) : nullptr;
        return monitor == nullptr ? std::nullopt
                                  : std::optional(layout.toPoints(*monitor, *position));
    } catch (const DisplayServerError&) {
        return std::nullopt;
    }
}

QImage XcbDisplayServer::still(const StillRequest& request) const {
    const std::lock_guard lock(m_capture->mutex);
    return m_capture->stills.take(request);
}

} // namespace lumivane
