#pragma once

#include "server/store/WallClock.h"

#include <atomic>

namespace lumivane::service::test {

/// A time of day that moves only when it is told to. Any thread.
class ManualWallClock final : public WallClock {
public:
    /// 15 November 2026, 06:25:30 UTC.
    static constexpr WallTime start{std::chrono::milliseconds(1'794'723'930'000)};

    WallTime now() const override { return m_now; }

    void advance(std::chrono::milliseconds duration) { m_now = m_now.load() + duration; }

    void set(WallTime time) { m_now = time; }

private:
    std::atomic<WallTime> m_now{start};
};

} // namespace lumivane::service::test
