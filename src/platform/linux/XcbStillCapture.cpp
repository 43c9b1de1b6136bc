#include "platform/linux/XcbStillCapture.h"

#include <QRegion>

#include <array>
#include <cmath>
#include <cstring>
#include <exception>
#include <utility>

namespace lumivane {

namespace {

constexpr int bytesPerPixel = 4;

/// Holds all other clients still while it lives.
class ServerGrab {
public:
    explicit ServerGrab(const XcbConnection& connection)
        : m_connection(connection.raw()) {
        xcb_grab_server(m_connection);
    }

    ~ServerGrab() {
        xcb_ungrab_server(m_connection);
        xcb_flush(m_connection);
    }

    ServerGrab(const ServerGrab&) = delete;
    ServerGrab& operator=(const ServerGrab&) = delete;

private:
    xcb_connection_t* m_connection;
};

/// The requests of one frame whose replies are not fetched yet. Where an error ends the frame, the
/// library would keep their replies for as long as the connection lives; so they are forgotten.
class OutstandingRequests {
public:
    explicit OutstandingRequests(const XcbConnection& connection)
        : m_connection(connection) {}

    ~OutstandingRequests() {
        if (std::uncaught_exceptions() > m_exceptionsBefore) {
            for (const unsigned int sequence : m_sequences) {
                m_connection.discard(sequence);
            }
        }
    }

    OutstandingRequests(const OutstandingRequests&) = delete;
    OutstandingRequests& operator=(const OutstandingRequests&) = delete;

    /// Those fetched in the meantime may stay: to forget them again does nothing.
    template <typename... Cookies>
    void add(const Cookies&... cookies) {
        m_sequences.insert(m_sequences.end(), {cookies.sequence...});
    }

private:
    const XcbConnection& m_connection;
    std::vector<unsigned int> m_sequences;
    int m_exceptionsBefore = std::uncaught_exceptions();
};

std::size_t byteCount(const QRect& area) {
    return static_cast<std::size_t>(area.width()) * static_cast<std::size_t>(area.height()) *
           bytesPerPixel;
}

/// Frames are read as 0x00RRGGBB in the machine's own order; anything else is refused.
void requireTrueColour(const XcbConnection& connection) {
    const xcb_setup_t* setup = xcb_get_setup(connection.raw());
    bool fits = setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
    auto depths = xcb_screen_allowed_depths_iterator(&connection.screen());
    for (; depths.rem > 0; xcb_depth_next(&depths)) {
        auto visuals = xcb_depth_visuals_iterator(depths.data);
        for (; visuals.rem > 0; xcb_visualtype_next(&visuals)) {
            if (visuals.data->visual_id == connection.screen().root_visual) {
                fits = fits && visuals.data->red_mask == 0xff0000U &&
                       visuals.data->green_mask == 0xff00U && visuals.data->blue_mask == 0xffU;
            }
        }
    }
    auto formats = xcb_setup_pixmap_formats_iterator(setup);
    for (; formats.rem > 0; xcb_format_next(&formats)) {
        if (formats.data->depth == connection.screen().root_depth) {
            fits = fits && formats.data->bits_per_pixel == 8 * bytesPerPixel;
        }
    }
    if (!fits) {
        throw DisplayServerError("The display's pixels are of a form that cannot be read.");
    }
}

/// The pixels that are wanted, those beyond the monitor included.
QRect wantedArea(const XcbMonitor& monitor, const StillRequest& request) {
    QPoint corner = monitor.area.topLeft();
    if (request.sourceRect) {
        corner += QPoint(static_cast<int>(std::llround(request.sourceRect->x * monitor.scale)),
                         static_cast<int>(std::llround(request.sourceRect->y * monitor.scale)));
    }
    return {corner, QSize(request.size.width, request.size.height)};
}

void copyOpaque(const std::uint32_t* source, std::uint32_t* target, int count) {
    constexpr std::uint32_t opaque = 0xff000000U;
    // Four pixels by way of a local array become one vector instruction, which makes this as fast
    // as a plain copy; pixel by pixel it takes nearly three times as long.
    std::array<std::uint32_t, 4> block{};
    int index = 0;
    for (; index + int(block.size()) <= count; index += int(block.size())) {
        std::memcpy(block.data(), source + index, sizeof(block));
        for (std::uint32_t& pixel : block) {
            pixel |= opaque;
        }
        std::memcpy(target + index, block.data(), sizeof(block));
    }
    for (; index < count; ++index) {
        target[index] = source[index] | opaque;
    }
}

/// Copies the pixels of `area` to their place in an image that shows `shown`.
void paste(QImage& image, const QRect& shown, const std::uint32_t* pixels, const QRect& area) {
    const QPoint place = area.topLeft() - shown.topLeft();
    for (int row = 0; row < area.height(); ++row, pixels += area.width()) {
        auto* line = reinterpret_cast<std::uint32_t*>(image.scanLine(place.y() + row));
        copyOpaque(pixels, line + place.x(), area.width());
    }
}

QImage newImage(const QSize& size) {
    QImage image(size, QImage::Format_RGB32);
    if (image.isNull()) {
        throw DisplayServerError("There is not enough memory for a frame.");
    }
    return image;
}

} // namespace

XcbStillCapture::XcbStillCapture(const QByteArray& displayName, MonitorScale scaleOf)
    : m_connection(displayName)
    , m_desktop(m_connection, std::move(scaleOf))
    , m_memory(m_connection)
    , m_stack(m_connection)
    , m_compositor(m_connection)
    , m_root(QPoint(0, 0), m_desktop.rootSize()) {
    requireTrueColour(m_connection);
}

QImage XcbStillCapture::take(const StillRequest& request) {
    constexpr int largest = 32767; // of the protocol
    const auto [width, height] = request.size;
    if (width < 1 || height < 1 || width > largest || height > largest) {
        throw DisplayServerError("The size of the frame is out of range.");
    }
    m_connection.dropEvents();
    constexpr int mostAttempts = 5;
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        const XcbMonitor shown = monitor(request.displayID);
        const QRect wanted = wantedArea(shown, request);
        // A monitor may be declared beyond the root window, where there are no pixels to ask for.
        const QRect visible = shown.area.intersected(m_root);
        const QRect area = wanted.intersected(visible);
        if (!area.isEmpty()) {
            m_memory.reserve(byteCount(visible));
        }
        if (const auto patches = grab(shown, area, request.excludedProcessID)) {
            QImage image = newImage(wanted.size());
            if (area != wanted) {
                image.fill(Qt::black);
            }
            for (const Patch& patch : *patches) {
                paste(image, wanted, m_memory.pixels(patch.offset), patch.area);
            }
            return image;
        }
    }
    throw DisplayServerError("The displays do not hold still.");
}

XcbMonitor XcbStillCapture::monitor(std::uint32_t displayID) {
    const XcbMonitor* found = m_layout.find(displayID);
    if (found == nullptr) {
        m_layout = XcbDisplayLayout(m_desktop.monitors(m_desktop.requestMonitors()));
        found = m_layout.find(displayID);
    }
    if (found == nullptr) {
        throw DisplayServerError("The display is no longer attached.");
    }
    XcbMonitor result = *found;
    result.scale = m_desktop.scale(displayID);
    return result;
}

// All that one frame takes is asked at once, on the word of the last frame about where the display
// lies: waiting for the server, and not its work, is what costs. None when the display has moved.
std::optional<std::vector<XcbStillCapture::Patch>>
XcbStillCapture::grab(const XcbMonitor& monitor, const QRect& area,
                      std::int64_t excludedProcessID) {
    const ServerGrab grab(m_connection);
    OutstandingRequests outstanding(m_connection);
    const auto monitors = m_desktop.requestMonitors();
    const auto root = xcb_get_geometry(m_connection.raw(), m_connection.root());
    const auto windows = m_stack.request();
    const auto frame = m_memory.request(m_connection.root(), area, 0);
    outstanding.add(monitors, root, windows.tree, windows.clients, windows.managed, windows.root,
                    frame);
    const QRect rootBefore = m_root;
    m_layout = XcbDisplayLayout(m_desktop.monitors(monitors));
    const auto geometry = m_connection.expect(xcb_get_geometry_reply, root);
    m_root = QRect(0, 0, geometry->width, geometry->height);
    const auto ownership = m_stack.ownership(windows, excludedProcessID);
    const XcbMonitor* current = m_layout.find(monitor.id);
    const bool holdsStill =
        current != nullptr && current->area == monitor.area && m_root == rootBefore;
    if (!holdsStill || area.isEmpty()) {
        m_connection.discard(frame.sequence);
        return holdsStill ? std::optional(std::vector<Patch>()) : std::nullopt;
    }
    std::vector<Patch> patches;
    if (!ownership.ours.empty()) {
        patches = requestPatches(area, ownership);
    }
    patches.insert(patches.begin(), Patch{area, 0, frame});
    for (const Patch& patch : patches) {
        outstanding.add(patch.cookie);
    }
    for (const Patch& patch : patches) {
        m_memory.await(patch.cookie);
    }
    return patches;
}

std::vector<XcbStillCapture::Patch>
XcbStillCapture::requestPatches(const QRect& area,
                                const XcbWindowStack::Ownership& ownership) const {
    OutstandingRequests outstanding(m_connection);
    const auto backdropRequest = m_compositor.requestBackdrop();
    outstanding.add(backdropRequest.wallpaper, backdropRequest.compositor);
    const std::vector<XcbTopLevel> windows = m_stack.viewable(ownership);
    const auto backdrop = m_compositor.backdrop(backdropRequest);
    QRegion covered;
    for (const XcbTopLevel& window : windows) {
        if (window.isOurs) {
            covered += window.area;
        }
    }
    std::vector<Patch> patches;
    // The parts of a region do not overlap, so together they fit behind the frame.
    std::size_t offset = byteCount(area);
    for (const QRect& part : covered.intersected(area)) {
        m_compositor.compose(part, backdrop, windows, [&](xcb_pixmap_t pixmap) {
            const QRect whole(QPoint(0, 0), part.size());
            patches.push_back({part, offset, m_memory.request(pixmap, whole, offset)});
            outstanding.add(patches.back().cookie);
        });
        offset += byteCount(part);
    }
    return patches;
}

} // namespace lumivane
