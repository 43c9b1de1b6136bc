#pragma once

#include "async/Clock.h"

namespace lumivane {

/// The clock of the running program, on the toolkit's timers.
///
/// Timers count in whole milliseconds, rounded up; a span beyond 24 days is held to 24 days.
class SystemClock final : public Clock {
public:
    MonotonicInstant now() const override;
    QDateTime wallNow() const override;
    std::unique_ptr<ClockTimer> after(std::chrono::nanoseconds delay,
                                      std::function<void()> callback) override;
    std::unique_ptr<ClockTimer> every(std::chrono::nanoseconds interval,
                                      std::function<void()> callback) override;
};

} // namespace lumivane
