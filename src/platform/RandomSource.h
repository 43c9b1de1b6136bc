#pragma once

#include <cstddef>
#include <span>

namespace lumivane {

/// Bytes that nobody can foretell: mechanism only. Any thread.
class RandomSource {
public:
    virtual ~RandomSource() = default;

    /// Fills all of `bytes`. False when the system has none to give; `bytes` are of no use then.
    [[nodiscard]] virtual bool fill(std::span<std::byte> bytes) = 0;
};

} // namespace lumivane
