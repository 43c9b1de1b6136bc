#pragma once

#include "domain/Appearance.h"
#include "domain/SrgbColor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace lumivane {

/// A named colour of the palette.
struct ThemeColor {
    std::string_view assetName;
    SrgbColor light;
    SrgbColor dark;

    /// Both values as 0xRRGGBB, with an opacity of 0 to 1 each.
    constexpr ThemeColor(std::string_view name, std::uint32_t lightHex, std::uint32_t darkHex,
                         double lightOpacity = 1, double darkOpacity = 1)
        : assetName(name)
        , light(OverlayPalette::color(lightHex))
        , dark(OverlayPalette::color(darkHex)) {
        light.opacity = lightOpacity;
        dark.opacity = darkOpacity;
    }

    constexpr SrgbColor resolved(Appearance appearance) const {
        return appearance == Appearance::dark ? dark : light;
    }
};

/// The palette: quiet greys with a breath of the accent's hue, one teal for what acts and what is
/// chosen. Views never write a colour of their own. Which colours may stand on which, and by how
/// much they differ, is held by the palette's test.
namespace LumivaneTheme {

// Surfaces, from the window up to what lies in a card.
inline constexpr ThemeColor surfaceWindow{"SurfaceWindow", 0xF3F6F6, 0x161B1D};
inline constexpr ThemeColor surfaceTitlebar{"SurfaceTitlebar", 0xE9EEEF, 0x1B2123};
inline constexpr ThemeColor surfaceCard{"SurfaceCard", 0xFFFFFF, 0x1F2628};
inline constexpr ThemeColor surfaceCardBorder{"SurfaceCardBorder", 0xD6DFE0, 0x364144};
inline constexpr ThemeColor surfaceCardShadow{"SurfaceCardShadow", 0x0B2326, 0x000000, 0.10, 0.36};
inline constexpr ThemeColor surfaceInset{"SurfaceInset", 0xEFF4F4, 0x171D1F};
inline constexpr ThemeColor surfaceInsetBorder{"SurfaceInsetBorder", 0xCFDADB, 0x344043};
inline constexpr ThemeColor surfaceControl{"SurfaceControl", 0xF8FAFA, 0x293134};
/// The edge by which a field is found, and the track of a switch that is off.
inline constexpr ThemeColor surfaceControlBorder{"SurfaceControlBorder", 0x78878A, 0x7D8C8F};
inline constexpr ThemeColor surfaceControlHover{"SurfaceControlHover", 0xEAF0F0, 0x313B3E};
inline constexpr ThemeColor surfaceSegmentIdle{"SurfaceSegmentIdle", 0xE7EDEE, 0x181F21};
inline constexpr ThemeColor surfaceActivationCellIdle{"SurfaceActivationCellIdle", 0xE3EAEB,
                                                      0x313B3E};
inline constexpr ThemeColor surfaceSliderTrack{"SurfaceSliderTrack", 0xCED9DB, 0x3A4548};

// What acts. `accentStatusText` also serves words that act, such as a text button.
inline constexpr ThemeColor accentFill{"AccentFill", 0x00717C, 0x56CBCB};
inline constexpr ThemeColor accentFillHover{"AccentFillHover", 0x005D66, 0x74DDDC};
inline constexpr ThemeColor accentOnFill{"AccentOnFill", 0xFFFFFF, 0x04282B};
inline constexpr ThemeColor accentControl{"AccentControl", 0x007F8B, 0x2A9AA1};
inline constexpr ThemeColor accentKnob{"AccentKnob", 0xFFFFFF, 0xF6FBFB};
inline constexpr ThemeColor accentStatusText{"AccentStatusText", 0x00636D, 0x86E1E0};
inline constexpr ThemeColor accentStatusBackground{"AccentStatusBackground", 0xE0F3F3, 0x123437};
inline constexpr ThemeColor accentStatusBorder{"AccentStatusBorder", 0xA5D6D8, 0x24595D};
inline constexpr ThemeColor accentDot{"AccentDot", 0x008690, 0x5AD2D0};

// What is chosen: `selectFill` is a tint under a row's words, `selectCell` a solid cell of a grid.
inline constexpr ThemeColor selectLine{"SelectLine", 0x007F8B, 0x4FC4C6};
inline constexpr ThemeColor selectFill{"SelectFill", 0xCDE9EB, 0x16413F};
inline constexpr ThemeColor selectCell{"SelectCell", 0x00717C, 0x4FC4C6};
inline constexpr ThemeColor selectValueText{"SelectValueText", 0x005F68, 0x86E1E0};
inline constexpr ThemeColor selectIdleRing{"SelectIdleRing", 0x78878A, 0x7D8C8F};

inline constexpr ThemeColor textPrimary{"TextPrimary", 0x142022, 0xE8EFEF};
inline constexpr ThemeColor textSecondary{"TextSecondary", 0x455457, 0xB3C0C2};
inline constexpr ThemeColor textTertiary{"TextTertiary", 0x576568, 0x9BA9AC};

inline constexpr ThemeColor warning{"Warning", 0x8A4B00, 0xFFC56B};
inline constexpr ThemeColor warningBackground{"WarningBackground", 0xFDF2E0, 0x372A13};
inline constexpr ThemeColor warningBorder{"WarningBorder", 0xE3C38D, 0x6E5123};

inline constexpr ThemeColor destructiveText{"DestructiveText", 0xAE241D, 0xFFA59D};
inline constexpr ThemeColor destructiveBackground{"DestructiveBackground", 0xFCEDEB, 0x3A1D1B};
inline constexpr ThemeColor destructiveBorder{"DestructiveBorder", 0xE7B5B0, 0x75382F};
inline constexpr ThemeColor destructiveFill{"DestructiveFill", 0xB3261E, 0xF28B82};
inline constexpr ThemeColor destructiveOnFill{"DestructiveOnFill", 0xFFFFFF, 0x3A0705};

// The small desktop behind the preview of a panel.
inline constexpr ThemeColor previewDesktopStart{"PreviewDesktopStart", 0xC9E2E4, 0x33626B};
inline constexpr ThemeColor previewDesktopEnd{"PreviewDesktopEnd", 0x86AFC4, 0x1C3C4E};

// The circle behind a person's initials, which are written in `accentOnFill`.
inline constexpr ThemeColor avatarStart{"AvatarStart", 0x00717C, 0x6CD9D8};
inline constexpr ThemeColor avatarEnd{"AvatarEnd", 0x2B5F9B, 0x84B6EE};

// The mark in full colour: its ring, and the pupil in it.
inline constexpr ThemeColor markStem{"MarkStem", 0x00717C, 0x6CD9D8};
inline constexpr ThemeColor markPupil{"MarkPupil", 0x0B3238, 0xEAFBFA};

inline constexpr ThemeColor overlayStatusOk{"OverlayStatusOk", 0x0B6B3A, 0x7CE3A8};
inline constexpr ThemeColor overlayStatusPending{"OverlayStatusPending", 0x8A4B00, 0xFFC56B};
inline constexpr ThemeColor overlayStatusChip{"OverlayStatusChip", 0xF4F6F7, 0x24282B};
/// Behind code in running text: a shade over whatever fill a panel was given.
inline constexpr ThemeColor overlayCodeBackground{"OverlayCodeBackground", 0x000000, 0x000000, 0.13,
                                                  0.17};

/// Every colour, group by group.
inline constexpr std::array allColors{
    // Surface
    surfaceWindow, surfaceTitlebar, surfaceCard, surfaceCardBorder, surfaceCardShadow, surfaceInset,
    surfaceInsetBorder, surfaceControl, surfaceControlBorder, surfaceControlHover,
    surfaceSegmentIdle, surfaceActivationCellIdle, surfaceSliderTrack,
    // Accent
    accentFill, accentFillHover, accentOnFill, accentControl, accentKnob, accentStatusText,
    accentStatusBackground, accentStatusBorder, accentDot,
    // Select
    selectLine, selectFill, selectCell, selectValueText, selectIdleRing,
    // Text
    textPrimary, textSecondary, textTertiary,
    // Warning
    warning, warningBackground, warningBorder,
    // Destructive
    destructiveText, destructiveBackground, destructiveBorder, destructiveFill, destructiveOnFill,
    // Preview
    previewDesktopStart, previewDesktopEnd,
    // Avatar
    avatarStart, avatarEnd,
    // Mark
    markStem, markPupil,
    // Overlay
    overlayStatusOk, overlayStatusPending, overlayStatusChip, overlayCodeBackground};

/// The names that a catalogue of the palette has to hold, in the order of `allColors`.
inline constexpr auto requiredAssetNames = [] {
    std::array<std::string_view, allColors.size()> names{};
    for (std::size_t index = 0; index < names.size(); ++index) {
        names[index] = allColors[index].assetName;
    }
    return names;
}();

} // namespace LumivaneTheme

} // namespace lumivane
