#pragma once

#include <QDateTime>
#include <qcoro/qcorotask.h>

#include <chrono>
#include <compare>
#include <functional>
#include <memory>
#include <stop_token>

namespace lumivane {

/// A point on the monotonic clock; its zero is arbitrary and differs from clock to clock.
struct MonotonicInstant {
    std::chrono::nanoseconds sinceOrigin{0};

    std::chrono::nanoseconds operator-(MonotonicInstant earlier) const {
        return sinceOrigin - earlier.sinceOrigin;
    }

    MonotonicInstant operator+(std::chrono::nanoseconds duration) const {
        return {sinceOrigin + duration};
    }

    // NOLINTNEXTLINE(modernize-use-nullptr): the checker trips over defaulted comparisons
    auto operator<=>(const MonotonicInstant&) const = default;
};

/// A running timer; it stops for good when this goes.
class ClockTimer {
public:
    virtual ~ClockTimer() = default;
};

/// The one source of time: every duration, delay and date in the program comes from here, so that
/// a test can turn the hands.
class Clock {
public:
    virtual ~Clock() = default;

    /// Monotonic time. Any thread.
    virtual MonotonicInstant now() const = 0;

    /// Wall time in UTC. Any thread.
    virtual QDateTime wallNow() const = 0;

    /// Calls `callback` once after `delay` (at the next turn of the event loop for 0 or less).
    /// Main thread.
    virtual std::unique_ptr<ClockTimer> after(std::chrono::nanoseconds delay,
                                              std::function<void()> callback) = 0;

    /// Calls `callback` every `interval` until the timer goes; an interval of 0 or less counts as
    /// one millisecond. Main thread.
    virtual std::unique_ptr<ClockTimer> every(std::chrono::nanoseconds interval,
                                              std::function<void()> callback) = 0;

    /// Ends after `delay`, or with Cancelled once a stop is requested. Main thread.
    QCoro::Task<void> sleep(std::chrono::nanoseconds delay, std::stop_token stop);
};

/// A span of fractional seconds on the clock's own scale, rounded to the nearest nanosecond and
/// held to what the scale can express; no number counts as 0.
std::chrono::nanoseconds secondsToDuration(double seconds);

} // namespace lumivane
