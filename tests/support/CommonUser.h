#pragma once

#include <sys/fsuid.h>
#include <unistd.h>

#include <functional>
#include <thread>

namespace lumivane::test {

/// Works with files on a thread of its own that may not do so everywhere, even if the test itself
/// may. Returns when the work is done.
inline void asCommonUser(const std::function<void()>& work) {
    std::thread([&work] {
        if (::geteuid() == 0) {
            ::setfsuid(65534);
        }
        work();
    }).join();
}

} // namespace lumivane::test
