#include "platform/linux/CoreDumps.h"

#include <sys/resource.h>

#include <algorithm>

namespace lumivane {

namespace {

// The limit belongs to the process as a whole, and so does what it was before.
rlim_t formerLimit = 0;
bool isDisabled = false;

} // namespace

void CoreDumps::disable() {
    rlimit limit{};
    ::getrlimit(RLIMIT_CORE, &limit);
    if (!isDisabled) {
        formerLimit = limit.rlim_cur;
    }
    // One byte is too little for a file, and it is the one value at which the kernel starts no
    // program that collects dumps either; that one would ignore zero.
    limit.rlim_cur = std::min<rlim_t>(1, limit.rlim_max);
    ::setrlimit(RLIMIT_CORE, &limit);
    isDisabled = true;
}

bool CoreDumps::allowAgain() {
    if (!isDisabled) {
        return false;
    }
    rlimit limit{};
    ::getrlimit(RLIMIT_CORE, &limit);
    limit.rlim_cur = formerLimit;
    ::setrlimit(RLIMIT_CORE, &limit);
    isDisabled = false;
    return true;
}

} // namespace lumivane
