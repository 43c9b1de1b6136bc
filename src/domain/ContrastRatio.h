#pragma once

#include "domain/SrgbColor.h"

#include <algorithm>
#include <cmath>

namespace lumivane {

/// How well one colour can be read on another, by the WCAG 2.x contrast formula. Pure; any thread.
namespace ContrastRatio {

/// The share of light that one sRGB channel of 0 to 1 stands for.
inline double linearChannel(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

/// Relative luminance, 0 for black to 1 for white. Opacity does not count: what is translucent is
/// laid over its background by the caller first.
inline double luminance(const SrgbColor& color) {
    return 0.2126 * linearChannel(color.red) + 0.7152 * linearChannel(color.green) +
           0.0722 * linearChannel(color.blue);
}

/// The ratio of two luminances in either order, 1 for equal ones to 21 for black and white.
inline double ratio(double luminance, double other) {
    return (std::max(luminance, other) + 0.05) / (std::min(luminance, other) + 0.05);
}

} // namespace ContrastRatio

} // namespace lumivane
