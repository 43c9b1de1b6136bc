#pragma once

#include "domain/Geometry.h"

#include <QImage>

#include <cstdint>

namespace lumivane {

/// One still frame of one display. It lives in memory only.
struct CapturedScreen {
    QImage image;
    double pointPixelScale = 1; ///< pixels per point
    Rect contentRect;           ///< what the image shows: points, origin at the display's top left
    std::uint32_t displayID = 0;

    bool operator==(const CapturedScreen&) const = default;
};

} // namespace lumivane
