#pragma once

#include <cstdint>

namespace lumivane {

/// How well a frame's text read.
struct ScreenTextSignals {
    std::int64_t charCount = 0; ///< characters of the finished transcript
    double meanConfidence = 0;  ///< character-weighted, 0 to 1
    double textCoverage = 0;    ///< share of the frame under accepted text, 0 to 1
    double nonTextEnergy = 0;   ///< share of the frame with strong detail outside text, 0 to 1

    bool operator==(const ScreenTextSignals&) const = default;
};

} // namespace lumivane
