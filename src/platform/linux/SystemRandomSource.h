#pragma once

#include "platform/RandomSource.h"

namespace lumivane {

/// The kernel's random number generator. Waits for it once, where it is asked very early after the
/// machine has started.
class SystemRandomSource final : public RandomSource {
public:
    [[nodiscard]] bool fill(std::span<std::byte> bytes) override;
};

} // namespace lumivane
