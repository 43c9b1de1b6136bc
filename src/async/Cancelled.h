#pragma once

#include <stop_token>

namespace lumivane {

/// What a wait throws once its stop is requested.
///
/// Deliberately not a std::exception: no handler for errors can swallow it, so it is passed on
/// until a flow names it.
struct Cancelled {};

/// Throws Cancelled when a stop has been requested.
inline void throwIfStopped(const std::stop_token& stop) {
    if (stop.stop_requested()) {
        throw Cancelled{};
    }
}

} // namespace lumivane
