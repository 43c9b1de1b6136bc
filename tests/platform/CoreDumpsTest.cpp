#include "platform/linux/CoreDumps.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <cstdlib>

namespace lumivane {

namespace {

constexpr int cannotTell = 2; ///< where no limit above one byte can be set

rlimit limit() {
    rlimit found{};
    ::getrlimit(RLIMIT_CORE, &found);
    return found;
}

/// In a process of its own: dumps as large as they may be. Many sessions begin with none.
void allowDumps() {
    rlimit wide = limit();
    wide.rlim_cur = wide.rlim_max;
    ::setrlimit(RLIMIT_CORE, &wide);
    if (limit().rlim_cur <= 1) {
        std::_Exit(cannotTell);
    }
}

/// How it would crash.
[[noreturn]] void reportLimit() {
    allowDumps();
    CoreDumps::disable();
    const bool isVisible = ::prctl(PR_GET_DUMPABLE) == 1;
    std::_Exit(limit().rlim_cur == 1 && isVisible ? 0 : 1);
}

/// How what it starts would crash.
[[noreturn]] void reportLimitOfOthers() {
    allowDumps();
    const rlim_t before = limit().rlim_cur;
    const bool hadNothingToPutBack = !CoreDumps::allowAgain() && limit().rlim_cur == before;
    CoreDumps::disable();
    CoreDumps::disable();
    const bool isPutBack = CoreDumps::allowAgain() && limit().rlim_cur == before;
    CoreDumps::disable();
    std::_Exit(hadNothingToPutBack && isPutBack && limit().rlim_cur == 1 ? 0 : 1);
}

} // namespace

TEST(CoreDumps, ACrashLeavesNoImageAndTheProcessStaysVisible) {
    EXPECT_EXIT(reportLimit(), testing::ExitedWithCode(0), "");
}

TEST(CoreDumps, WhatWasAllowedBeforeCanBePutBack) {
    EXPECT_EXIT(reportLimitOfOthers(), testing::ExitedWithCode(0), "");
}

} // namespace lumivane
