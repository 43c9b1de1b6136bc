#include "Figures.h"

#include "async/SystemClock.h"

#include <algorithm>

namespace lumivane::bench {

MonotonicInstant meterNow() {
    static const SystemClock clock;
    return clock.now();
}

double milliseconds(std::chrono::nanoseconds duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

double Figures::quantile(double share) {
    std::sort(m_values.begin(), m_values.end());
    const auto index = std::size_t(share * double(m_values.size()));
    return m_values.empty() ? 0 : m_values[std::min(index, m_values.size() - 1)];
}

} // namespace lumivane::bench
