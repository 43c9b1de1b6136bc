#include "async/Clock.h"

#include "async/Completion.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivane {

QCoro::Task<void> Clock::sleep(std::chrono::nanoseconds delay, std::stop_token stop) {
    throwIfStopped(stop);
    Completion<void> elapsed;
    const auto timer = after(delay, [elapsed] { elapsed.resolve(); });
    co_await elapsed.wait(stop);
}

std::chrono::nanoseconds secondsToDuration(double seconds) {
    // A century: far beyond every setting, far below the range of 64-bit nanoseconds.
    constexpr double limit = 100.0 * 365 * 24 * 3600;
    if (std::isnan(seconds)) {
        return std::chrono::nanoseconds::zero();
    }
    return std::chrono::nanoseconds(std::llround(std::clamp(seconds, -limit, limit) * 1e9));
}

} // namespace lumivane
