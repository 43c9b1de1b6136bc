#pragma once

#include <chrono>

namespace lumivane::service {

/// How long what a session hands out is good for. What ends exactly now has ended.
struct SessionSettings {
    std::chrono::milliseconds accessLifetime = std::chrono::minutes(15);
    std::chrono::milliseconds refreshLifetime = std::chrono::days(60);
    std::chrono::milliseconds ticketLifetime = std::chrono::minutes(5);
};

} // namespace lumivane::service
