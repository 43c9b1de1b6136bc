#include "server/work/MonotonicTime.h"

namespace lumivane::service {

MonotonicTime monotonicNow() { return std::chrono::steady_clock::now(); }

} // namespace lumivane::service
