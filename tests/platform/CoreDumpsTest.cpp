#include "platform/linux/CoreDumps.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <cstdlib>

namespace lumivane {

namespace {

/// In a process of its own: how it would crash.
[[noreturn]] void reportLimit() {
    CoreDumps::disable();
    rlimit limit{};
    ::getrlimit(RLIMIT_CORE, &limit);
    const bool leavesNothing = limit.rlim_cur <= 1;
    const bool isVisible = ::prctl(PR_GET_DUMPABLE) == 1;
    std::_Exit(leavesNothing && isVisible ? 0 : 1);
}

} // namespace

TEST(CoreDumps, ACrashLeavesNoImageAndTheProcessStaysVisible) {
    EXPECT_EXIT(reportLimit(), testing::ExitedWithCode(0), "");
}

} // namespace lumivane
