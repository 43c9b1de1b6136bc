#include "server/store/WallClock.h"

#include <thread>

namespace lumivane::service {

WallTime SystemWallClock::now() const {
    return std::chrono::time_point_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now());
}

void pauseThread(std::chrono::milliseconds duration) { std::this_thread::sleep_for(duration); }

} // namespace lumivane::service
