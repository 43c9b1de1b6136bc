#pragma once

#include "async/Clock.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>

namespace lumivane::test {

/// A clock whose hands a test turns. Timers fire inside `advance`, in order of deadline, and after
/// each one everything it posted is delivered.
class ManualClock final : public Clock {
public:
    MonotonicInstant now() const override;
    QDateTime wallNow() const override;
    std::unique_ptr<ClockTimer> after(std::chrono::nanoseconds delay,
                                      std::function<void()> callback) override;
    std::unique_ptr<ClockTimer> every(std::chrono::nanoseconds interval,
                                      std::function<void()> callback) override;

    void advance(std::chrono::nanoseconds duration);

    /// Sets the wall clock by so much, as a user or a time server does; no timer hears of it.
    void jumpWall(std::chrono::milliseconds distance) { m_wallOffset += distance; }

    /// How many timers are running; a wait that was cancelled leaves none behind.
    std::size_t timerCount() const { return m_timers->size(); }

private:
    struct Entry {
        std::uint64_t id = 0;
        std::chrono::nanoseconds interval{0}; ///< 0 for a timer that fires once
        std::function<void()> callback;
    };

    using Timers = std::multimap<std::chrono::nanoseconds, Entry>;

    class Timer;

    std::unique_ptr<ClockTimer> add(std::chrono::nanoseconds delay,
                                    std::chrono::nanoseconds interval,
                                    std::function<void()> callback);

    std::atomic<std::chrono::nanoseconds::rep> m_elapsed{0};
    std::chrono::milliseconds m_wallOffset{0};
    std::shared_ptr<Timers> m_timers = std::make_shared<Timers>();
    std::uint64_t m_lastId = 0;
};

} // namespace lumivane::test
