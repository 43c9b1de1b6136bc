#include "overlays/OverlaySurface.h"

#include "overlays/ColorMixing.h"
#include "overlays/OverlaySurfaceStyle.h"

namespace lumivane {

SrgbColor OverlaySurface::painted(bool reduceTransparency) const {
    const auto style = OverlaySurfaceStyle::resolve(settings.overlayBackground, isError,
                                                    settings.backgroundOpacity, reduceTransparency);
    const auto color = style.color();
    return color ? withOpacity(*color, style.opacity) : SrgbColor{0, 0, 0, 0};
}

} // namespace lumivane
