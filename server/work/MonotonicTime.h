#pragma once

#include <chrono>

namespace lumivane::service {

using MonotonicTime = std::chrono::steady_clock::time_point;

/// The only reading of the steady clock in the service; timers keep their own.
MonotonicTime monotonicNow();

} // namespace lumivane::service
