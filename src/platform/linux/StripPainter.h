#pragma once

#include "async/Clock.h"

#include <QByteArray>
#include <QRect>

#include <xcb/xcb.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>

namespace lumivane {

/// A strip on a window in two colours, the left of which shrinks to nothing in linear time.
struct GlidingStrip {
    QRect area;          ///< pixels of the window
    double fraction = 0; ///< of the width that is `fill` at the start, 0 to 1
    std::chrono::nanoseconds duration{0};
    std::uint32_t fill = 0; ///< pixels as the server stores them
    std::uint32_t track = 0;
};

/// How many pixels are filled when `elapsed` has passed.
int filledPixels(const GlidingStrip& strip, std::chrono::nanoseconds elapsed);

/// When that number changes next, counted like `elapsed`; none once nothing is left.
std::optional<std::chrono::nanoseconds> nextChange(const GlidingStrip& strip,
                                                   std::chrono::nanoseconds elapsed);

/// Moves a strip on a window of this process, from a thread and a connection of its own.
///
/// The strip consists of windows of plain colour inside the one that it lies on: what the toolkit
/// draws below never shows through, the server repaints what was covered, and when they go it
/// asks the toolkit to draw again. They never see the pointer. A window or a server that goes
/// away ends the strip quietly.
class StripPainter {
public:
    /// `clock` outlives it. An empty name stands for the environment's DISPLAY.
    StripPainter(const Clock& clock, QByteArray displayName, xcb_window_t window);

    /// Ends the strip; waits for the thread, which waits for nothing but the server.
    ~StripPainter();
    StripPainter(const StripPainter&) = delete;
    StripPainter& operator=(const StripPainter&) = delete;

    /// Begins now, in place of any strip before.
    void start(const GlidingStrip& strip);
    void stop();

private:
    class Windows;

    struct Order {
        GlidingStrip strip;
        MonotonicInstant begin;
    };

    void run(std::stop_token stop);
    void carryOut(Windows& windows, std::stop_token stop);
    void put(const std::optional<Order>& order);

    /// How long nothing changes then; none: until the next order.
    std::optional<std::chrono::nanoseconds> paint(Windows& windows, const Order& order) const;

    const Clock& m_clock;
    const QByteArray m_displayName;
    const xcb_window_t m_window;

    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::optional<Order> m_order;   ///< guarded by m_mutex
    std::uint64_t m_orderCount = 0; ///< guarded by m_mutex
    std::jthread m_thread; ///< from the first strip on; last, so that it ends before the rest goes
};

} // namespace lumivane
