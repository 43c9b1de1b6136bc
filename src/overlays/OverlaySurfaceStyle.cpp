#include "overlays/OverlaySurfaceStyle.h"

#include <algorithm>

namespace lumivane {

namespace {

constexpr double errorOpacity = 0.96;

} // namespace

OverlaySurfaceStyle OverlaySurfaceStyle::resolve(OverlayBackgroundStyle style, bool isError,
                                                 double backgroundOpacity,
                                                 bool reduceTransparency) {
    if (isError) {
        return {errorFillHex, reduceTransparency ? 1.0 : errorOpacity};
    }
    if (const auto hex = lumivane::fillHex(style)) {
        return {hex,
                reduceTransparency ? 1.0 : std::min(1.0, std::max(0.0, backgroundOpacity / 100))};
    }
    // Text never floats on a see-through surface against the user's wish.
    return {reduceTransparency ? lumivane::fillHex(OverlayBackgroundStyle::graphite) : std::nullopt,
            1.0};
}

std::optional<SrgbColor> OverlaySurfaceStyle::color() const {
    return fillHex ? std::optional(OverlayPalette::color(*fillHex)) : std::nullopt;
}

} // namespace lumivane
