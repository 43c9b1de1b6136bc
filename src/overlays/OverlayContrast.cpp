#include "overlays/OverlayContrast.h"

#include "domain/ContrastRatio.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace lumivane {

namespace {

using ContrastRatio::ratio;

constexpr std::uint32_t black = 0x000000;
constexpr std::uint32_t white = 0xFFFFFF;
constexpr int channelShifts[] = {16, 8, 0};

std::uint32_t channel(std::uint32_t hex, int shift) { return (hex >> shift) & 0xFF; }

double luminance(std::uint32_t hex) { return ContrastRatio::luminance(OverlayPalette::color(hex)); }

std::uint32_t composite(std::uint32_t hex, double alpha, std::uint32_t under) {
    std::uint32_t result = 0;
    for (const int shift : channelShifts) {
        const double mixed = channel(hex, shift) * alpha + channel(under, shift) * (1 - alpha);
        result |= static_cast<std::uint32_t>(std::lround(mixed)) << shift;
    }
    return result;
}

} // namespace

bool OverlayContrast::Reading::isBelowMinimum() const {
    return pairRatio && worstCaseRatio && std::min(*pairRatio, *worstCaseRatio) < minimumRatio;
}

OverlayContrast::Reading OverlayContrast::reading(OverlayBackgroundStyle background,
                                                  OverlayTextColor text, double opacityPercent) {
    const auto fill = fillHex(background);
    if (!fill) {
        return {};
    }
    const double textLuminance = luminance(colorHex(text));
    const double alpha = std::min(1.0, std::max(0.0, opacityPercent / 100));
    const auto [darkest, lightest] = std::minmax(
        {luminance(composite(*fill, alpha, black)), luminance(composite(*fill, alpha, white))});
    // Between the two lies a desktop that makes the text vanish.
    const bool canVanish = darkest <= textLuminance && textLuminance <= lightest;
    return {
        .pairRatio = ratio(textLuminance, luminance(*fill)),
        .worstCaseRatio =
            canVanish ? 1.0
                      : std::min(ratio(textLuminance, darkest), ratio(textLuminance, lightest)),
    };
}

std::vector<OverlayTextColor>
OverlayContrast::passingTextColors(OverlayBackgroundStyle background) {
    std::vector<OverlayTextColor> passing;
    const auto fill = fillHex(background);
    if (!fill) {
        return passing;
    }
    for (const auto& row : tables::overlayTextColor) {
        if (ratio(luminance(row.colorHex), luminance(*fill)) >= minimumRatio) {
            passing.push_back(row.value);
        }
    }
    return passing;
}

} // namespace lumivane
