#include "support/WaitForCondition.h"

#include <thread>

namespace lumivane::test {

bool waitForCondition(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    constexpr std::chrono::milliseconds betweenLooks{2};
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(betweenLooks);
    }
    return true;
}

} // namespace lumivane::test
