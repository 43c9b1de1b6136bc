#include "platform/linux/CoreDumps.h"

#include <sys/resource.h>

#include <algorithm>

namespace lumivane {

void CoreDumps::disable() {
    rlimit limit{};
    ::getrlimit(RLIMIT_CORE, &limit);
    // One byte is too little for a file, and it is the one value at which the kernel starts no
    // program that collects dumps either; that one would ignore zero.
    limit.rlim_cur = std::min<rlim_t>(1, limit.rlim_max);
    ::setrlimit(RLIMIT_CORE, &limit);
}

} // namespace lumivane
