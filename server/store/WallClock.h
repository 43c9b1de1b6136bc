#pragma once

#include <chrono>
#include <cstdint>

namespace lumivane::service {

/// A moment of the calendar. It is stored and compared in whole milliseconds, so that what one
/// replica wrote and another one reads is the same moment.
using WallTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::milliseconds>;

/// The time of day, which every expiry is measured against. Replicas on one database are expected
/// to agree within seconds. May be read from any thread.
class WallClock {
public:
    WallClock() = default;
    WallClock(const WallClock&) = delete;
    WallClock& operator=(const WallClock&) = delete;
    virtual ~WallClock() = default;

    virtual WallTime now() const = 0;
};

/// The clock of the machine.
class SystemWallClock final : public WallClock {
public:
    WallTime now() const override;
};

/// The stored form of a moment: milliseconds since 1970 in UTC, a BIGINT.
inline std::int64_t storedTime(WallTime time) { return time.time_since_epoch().count(); }

inline WallTime wallTime(std::int64_t stored) {
    return WallTime(std::chrono::milliseconds(stored));
}

/// Holds the calling thread, which must be one that may block.
void pauseThread(std::chrono::milliseconds duration);

} // namespace lumivane::service
