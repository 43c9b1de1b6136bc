#include "overlays/ColorMixing.h"

namespace lumivane {

SrgbColor composited(const SrgbColor& upper, const SrgbColor& lower) {
    const double rest = lower.opacity * (1 - upper.opacity);
    const double opacity = upper.opacity + rest;
    if (opacity <= 0) {
        return {0, 0, 0, 0};
    }
    const auto channel = [&](double above, double below) {
        return (above * upper.opacity + below * rest) / opacity;
    };
    return {channel(upper.red, lower.red), channel(upper.green, lower.green),
            channel(upper.blue, lower.blue), opacity};
}

} // namespace lumivane
