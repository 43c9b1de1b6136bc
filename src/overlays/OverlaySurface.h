#pragma once

#include "domain/AppSettings.h"
#include "domain/SrgbColor.h"

namespace lumivane {

/// The background of a panel whose style comes from the user.
struct OverlaySurface {
    AppSettings settings;
    bool isError = false;

    /// The fill at its opacity; wholly transparent where there is none.
    SrgbColor painted(bool reduceTransparency) const;
};

} // namespace lumivane
