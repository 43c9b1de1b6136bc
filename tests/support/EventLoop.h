#pragma once

#include <chrono>
#include <functional>

namespace lumivane::test {

/// Delivers everything posted to the main thread, what that posts in turn included.
void drainEvents();

/// Runs the event loop until `condition` holds; false when it does not within `limit`, which is a
/// bound for broken code and not a wait.
bool waitUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds limit = std::chrono::seconds(20));

} // namespace lumivane::test
