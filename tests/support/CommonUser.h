#pragma once

#include <sys/fsuid.h>
#include <unistd.h>

#include <functional>
#include <thread>

namespace lumivane::test {

/// The calling thread may not work with files everywhere from now on, even if the test itself may.
inline void becomeCommonUser() {
    if (::geteuid() == 0) {
        ::setfsuid(65534);
    }
}

/// Works with files on a thread of its own that may not do so everywhere, even if the test itself
/// may. Returns when the work is done.
inline void asCommonUser(const std::function<void()>& work) {
    std::thread([&work] {
        becomeCommonUser();
        work();
    }).join();
}

} // namespace lumivane::test
