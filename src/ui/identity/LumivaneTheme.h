#pragma once

#include "domain/SrgbColor.h"

#include <cstdint>
#include <string_view>

namespace lumivane {

/// Which of its two values a named colour takes.
enum class Appearance { light, dark };

/// A named colour of the palette.
struct ThemeColor {
    std::string_view assetName;
    SrgbColor light;
    SrgbColor dark;

    constexpr SrgbColor resolved(Appearance appearance) const {
        return appearance == Appearance::dark ? dark : light;
    }
};

/// The palette. Views never write a colour of their own.
namespace LumivaneTheme {

inline constexpr ThemeColor overlayStatusOk{"OverlayStatusOk", OverlayPalette::color(0x0B6B3A),
                                            OverlayPalette::color(0x7CE3A8)};
inline constexpr ThemeColor overlayStatusPending{
    "OverlayStatusPending", OverlayPalette::color(0x8A4B00), OverlayPalette::color(0xFFC56B)};
inline constexpr ThemeColor overlayStatusChip{"OverlayStatusChip", OverlayPalette::color(0xF4F6F7),
                                              OverlayPalette::color(0x24282B)};

} // namespace LumivaneTheme

} // namespace lumivane
