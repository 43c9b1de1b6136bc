#pragma once

#include "domain/SrgbColor.h"

namespace lumivane {

/// The colour at a share of its own opacity.
inline SrgbColor withOpacity(SrgbColor color, double opacity) {
    color.opacity *= opacity;
    return color;
}

/// What the eye sees of `upper` on `lower`.
SrgbColor composited(const SrgbColor& upper, const SrgbColor& lower);

} // namespace lumivane
