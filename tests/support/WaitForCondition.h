#pragma once

#include <chrono>
#include <functional>

namespace lumivane::test {

/// Looks at `condition` again and again, for tests whose other side is another thread or process;
/// false when it does not hold within `limit`, which is a bound for broken code and not a wait.
bool waitForCondition(const std::function<bool()>& condition,
                      std::chrono::milliseconds limit = std::chrono::seconds(20));

} // namespace lumivane::test
