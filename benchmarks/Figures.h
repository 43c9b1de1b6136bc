#pragma once

#include "async/Clock.h"

#include <chrono>
#include <cstddef>
#include <vector>

namespace lumivane::bench {

MonotonicInstant meterNow();

double milliseconds(std::chrono::nanoseconds duration);

/// Figures of one thing that was measured again and again.
class Figures {
public:
    void add(double value) { m_values.push_back(value); }

    std::size_t count() const { return m_values.size(); }

    /// 0.5 is the median; 0 without a figure.
    double quantile(double share);

private:
    std::vector<double> m_values;
};

} // namespace lumivane::bench
