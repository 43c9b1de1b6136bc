#pragma once

#include <cstdlib>

/// Ends the process, which is a finding, when a promise does not hold.
inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}
