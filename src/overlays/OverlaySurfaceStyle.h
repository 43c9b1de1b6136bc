#pragma once

#include "domain/SrgbColor.h"
#include "domain/Vocabulary.h"

#include <cstdint>
#include <optional>

namespace lumivane {

/// How the background of a panel is painted.
struct OverlaySurfaceStyle {
    static constexpr std::uint32_t errorFillHex = 0x520F0A;

    std::optional<std::uint32_t> fillHex; ///< 0xRRGGBB; none is no fill at all
    double opacity = 1;                   ///< 0 to 1

    /// An error looks like one whatever the user chose. `backgroundOpacity` is a percentage; where
    /// transparency is unwanted or impossible, every panel gets a solid fill.
    static OverlaySurfaceStyle resolve(OverlayBackgroundStyle style, bool isError,
                                       double backgroundOpacity, bool reduceTransparency);

    /// The fill at opacity 1; none without a fill.
    std::optional<SrgbColor> color() const;

    bool operator==(const OverlaySurfaceStyle&) const = default;
};

} // namespace lumivane
