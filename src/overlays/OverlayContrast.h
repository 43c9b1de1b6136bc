#pragma once

#include "domain/Vocabulary.h"

#include <optional>
#include <vector>

namespace lumivane {

/// Judges whether overlay text can be read on its fill, by the contrast formula of WCAG 2. Pure
/// functions, for the note in the settings; they forbid nothing.
namespace OverlayContrast {

/// What small text needs.
inline constexpr double minimumRatio = 4.5;

/// Two contrast ratios, 1 to 21; none on a background without a fill.
struct Reading {
    std::optional<double> pairRatio;      ///< with the fill taken as opaque
    std::optional<double> worstCaseRatio; ///< on the worst desktop that can lie behind the panel

    bool isBelowMinimum() const;

    bool operator==(const Reading&) const = default;
};

/// `opacityPercent` is held to 0 to 100.
Reading reading(OverlayBackgroundStyle background, OverlayTextColor text, double opacityPercent);

/// The colours that reach the minimum on the opaque fill, in case order; empty without a fill.
std::vector<OverlayTextColor> passingTextColors(OverlayBackgroundStyle background);

} // namespace OverlayContrast

} // namespace lumivane
