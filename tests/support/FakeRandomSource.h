#pragma once

#include "platform/RandomSource.h"

#include <algorithm>

namespace lumivane::test {

/// Bytes that count upwards from where the test says, over all requests.
class FakeRandomSource final : public RandomSource {
public:
    bool fill(std::span<std::byte> bytes) override {
        ++requestCount;
        if (isEmpty) {
            return false;
        }
        std::generate(bytes.begin(), bytes.end(),
                      [this] { return static_cast<std::byte>(next++); });
        return true;
    }

    unsigned char next = 0;
    bool isEmpty = false; ///< the system has none to give
    int requestCount = 0;
};

} // namespace lumivane::test
