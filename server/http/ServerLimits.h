#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace lumivane::service {

/// Every bound that the server puts on its clients. Tests shorten the times.
struct ServerLimits {
    std::uint32_t headerBytes = 16 * 1024;
    std::uint64_t bodyBytes = 20 * 1024 * 1024;
    std::uint64_t allBodyBytes = 320 * 1024 * 1024; ///< of all requests at work together
    std::uint64_t smallBodyBytes = 64 * 1024;       ///< up to which a route's bodies count as small
    std::uint64_t keptForSmall = 80 * 1024 * 1024;  ///< of allBodyBytes, as large ones wait longer
    std::size_t connections = 1200;

    std::chrono::milliseconds idle{60'000};   ///< a kept connection without a request
    std::chrono::milliseconds header{10'000}; ///< from a request's first byte to its header's last
    std::chrono::milliseconds body{30'000};   ///< from the header's last byte to the body's last
    std::chrono::milliseconds write{30'000};  ///< an answer
    std::chrono::milliseconds linger{2'000};  ///< reading on after a refusal, so that it is seen
    std::chrono::milliseconds stop{10'000};   ///< requests at work when the server is told to stop
};

} // namespace lumivane::service
