#pragma once

#include "domain/Vocabulary.h"

#include <algorithm>
#include <cmath>

namespace lumivane::ScreenImagePolicy {

// The one table of the numbers that size the JPEG and the bitmap for recognition. Edges in pixels.
// The two modes have a setting each, although both are equal today.

inline constexpr int privateLongEdge = 1024;    ///< of the JPEG in `hyperPrivate` mode
inline constexpr int accurateLongEdge = 1024;   ///< of the JPEG in `hyperAccurate` mode
inline constexpr double jpegQuality = 0.7;      ///< on the scale of 0 to 1
inline constexpr double ocrPointScale = 1.5;    ///< pixels for recognition per point of the display
inline constexpr int ocrMaximumLongEdge = 3840; ///< of the bitmap for recognition
inline constexpr int ocrMinimumLongEdge = 1600; ///< of it too, in frames that have as many pixels

constexpr int jpegLongEdge(AnalysisMode mode) {
    return mode == AnalysisMode::hyperAccurate ? accurateLongEdge : privateLongEdge;
}

/// The long edge at which text is to be recognised; a frame is never enlarged for it.
/// `pointPixelScale` is in pixels per point, and counts as 1 unless it is above 0.
inline int ocrLongEdge(int pixelLongEdge, double pointPixelScale) {
    if (pixelLongEdge <= 0) {
        return 0;
    }
    const double scale = pointPixelScale > 0 ? pointPixelScale : 1;
    const double target = std::round(pixelLongEdge / scale * ocrPointScale);
    // Held before the cast: beside a scale next to 0 the target is no integer.
    const double held = std::clamp<double>(target, ocrMinimumLongEdge, ocrMaximumLongEdge);
    return std::min(static_cast<int>(held), pixelLongEdge);
}

} // namespace lumivane::ScreenImagePolicy
