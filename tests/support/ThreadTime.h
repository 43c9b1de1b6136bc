#pragma once

#include <chrono>
#include <ctime>

namespace lumivane::test {

/// How long this thread has been at work. What else a machine has to do does not enter here.
inline std::chrono::nanoseconds threadTime() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace lumivane::test
