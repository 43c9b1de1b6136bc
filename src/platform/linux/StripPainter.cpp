#include "platform/linux/StripPainter.h"

#include "platform/linux/XcbConnection.h"

#include <xcb/shape.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivane {

namespace {

/// The eye sees no more than that.
constexpr std::chrono::nanoseconds shortestStep = std::chrono::milliseconds(16);

double filledAtStart(const GlidingStrip& strip) {
    return std::clamp(strip.fraction, 0.0, 1.0) * strip.area.width();
}

} // namespace

int filledPixels(const GlidingStrip& strip, std::chrono::nanoseconds elapsed) {
    if (elapsed >= strip.duration) {
        return 0;
    }
    const double passed = std::max(0.0, double(elapsed.count()) / double(strip.duration.count()));
    return static_cast<int>(std::lround(filledAtStart(strip) * (1 - passed)));
}

std::optional<std::chrono::nanoseconds> nextChange(const GlidingStrip& strip,
                                                   std::chrono::nanoseconds elapsed) {
    const int filled = filledPixels(strip, elapsed);
    if (filled == 0) {
        return std::nullopt;
    }
    const double passed = 1 - (filled - 0.5) / filledAtStart(strip);
    return std::chrono::nanoseconds(std::llround(double(strip.duration.count()) * passed) + 1);
}

/// The windows of one strip at a time, used by the painter's thread alone.
class StripPainter::Windows {
public:
    Windows(const QByteArray& displayName, xcb_window_t parent)
        : m_connection(displayName)
        , m_parent(parent)
        , m_track(xcb_generate_id(m_connection.raw()))
        , m_fill(xcb_generate_id(m_connection.raw())) {}

    void show(const GlidingStrip& strip) {
        const QRect& area = strip.area;
        add(m_track, m_parent, area, strip.track);
        xcb_shape_rectangles(m_connection.raw(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                             XCB_CLIP_ORDERING_UNSORTED, m_track, 0, 0, 0, nullptr);
        add(m_fill, m_track, QRect(0, 0, area.width(), area.height()), strip.fill);
        m_isShown = true;
        m_filled = 0;
    }

    void fill(int pixels) {
        if (pixels != m_filled && pixels > 0) {
            const std::uint32_t width = static_cast<std::uint32_t>(pixels);
            xcb_configure_window(m_connection.raw(), m_fill, XCB_CONFIG_WINDOW_WIDTH, &width);
        }
        if ((pixels > 0) != (m_filled > 0)) {
            const auto change = pixels > 0 ? xcb_map_window : xcb_unmap_window;
            change(m_connection.raw(), m_fill);
        }
        m_filled = pixels;
        if (std::exchange(m_isTrackHidden, false)) {
            xcb_map_window(m_connection.raw(), m_track);
        }
        xcb_flush(m_connection.raw());
    }

    void hide() {
        if (std::exchange(m_isShown, false)) {
            xcb_destroy_window(m_connection.raw(), m_track);
            xcb_flush(m_connection.raw());
        }
    }

    /// False once the window that they lie on, or the server, is gone.
    bool areThere() {
        while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(m_connection.raw())}) {
            if (event->response_type == 0) {
                m_isShown = false;
            }
        }
        return m_isShown && m_connection.isAlive();
    }

    bool isServerThere() const { return m_connection.isAlive(); }

private:
    void add(xcb_window_t window, xcb_window_t parent, const QRect& area, std::uint32_t pixel) {
        // The toolkit takes requests to show a child of a window without input for itself.
        const std::uint32_t values[] = {pixel, 1};
        xcb_create_window(m_connection.raw(), XCB_COPY_FROM_PARENT, window, parent,
                          static_cast<std::int16_t>(area.x()), static_cast<std::int16_t>(area.y()),
                          static_cast<std::uint16_t>(std::max(1, area.width())),
                          static_cast<std::uint16_t>(std::max(1, area.height())), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        m_isTrackHidden = true;
    }

    XcbConnection m_connection;
    const xcb_window_t m_parent;
    const xcb_window_t m_track;
    const xcb_window_t m_fill;
    int m_filled = 0;
    bool m_isShown = false;
    bool m_isTrackHidden = false;
};

StripPainter::StripPainter(const Clock& clock, QByteArray displayName, xcb_window_t window)
    : m_clock(clock)
    , m_displayName(std::move(displayName))
    , m_window(window) {}

StripPainter::~StripPainter() = default;

void StripPainter::start(const GlidingStrip& strip) {
    put(Order{strip, m_clock.now()});
    if (!m_thread.joinable()) {
        m_thread = std::jthread([this](std::stop_token stop) { run(std::move(stop)); });
    }
}

void StripPainter::stop() { put(std::nullopt); }

void StripPainter::put(const std::optional<Order>& order) {
    {
        const std::lock_guard lock(m_mutex);
        m_order = order;
        ++m_orderCount;
    }
    m_changed.notify_one();
}

void StripPainter::run(std::stop_token stop) {
    try {
        Windows windows(m_displayName, m_window);
        carryOut(windows, std::move(stop));
    } catch (const DisplayServerError&) {
        // Nobody is left to show it to.
    }
}

void StripPainter::carryOut(Windows& windows, std::stop_token stop) {
    std::unique_lock lock(m_mutex);
    std::uint64_t seen = 0;
    std::optional<Order> order;
    while (!stop.stop_requested() && windows.isServerThere()) {
        const bool isNew = std::exchange(seen, m_orderCount) != m_orderCount;
        order = m_order;
        lock.unlock();
        if (isNew) {
            windows.hide();
        }
        if (isNew && order) {
            windows.show(order->strip);
        }
        const auto pause = order ? paint(windows, *order) : std::nullopt;
        lock.lock();
        const auto hasNews = [this, seen] { return seen != m_orderCount; };
        if (pause) {
            m_changed.wait_for(lock, stop, *pause, hasNews);
        } else {
            m_changed.wait(lock, stop, hasNews);
        }
    }
}

std::optional<std::chrono::nanoseconds> StripPainter::paint(Windows& windows,
                                                            const Order& order) const {
    const auto elapsed = m_clock.now() - order.begin;
    windows.fill(filledPixels(order.strip, elapsed));
    const auto next = windows.areThere() ? nextChange(order.strip, elapsed) : std::nullopt;
    return next ? std::optional(std::max(shortestStep, *next - elapsed)) : std::nullopt;
}

} // namespace lumivane
