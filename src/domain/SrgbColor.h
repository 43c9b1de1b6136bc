#pragma once

#include <cstdint>

namespace lumivane {

/// A colour in sRGB; every channel and the opacity run from 0 to 1.
struct SrgbColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double opacity = 1;

    bool operator==(const SrgbColor&) const = default;
};

namespace OverlayPalette {

/// The opaque colour of a 24-bit value 0xRRGGBB.
constexpr SrgbColor color(std::uint32_t hex) {
    return {((hex >> 16) & 0xFF) / 255.0, ((hex >> 8) & 0xFF) / 255.0, (hex & 0xFF) / 255.0, 1.0};
}

} // namespace OverlayPalette

} // namespace lumivane
