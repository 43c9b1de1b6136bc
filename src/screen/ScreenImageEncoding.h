#pragma once

#include "screen/ReducedScreenImage.h"

#include <QImage>
#include <qcoro/qcorotask.h>

#include <stop_token>

namespace lumivane {

/// Reduces a frame to one JPEG. Called on the main thread; works off it.
class ScreenImageEncoding {
public:
    virtual ~ScreenImageEncoding() = default;

    /// `longEdge` in pixels, `quality` from 0 to 1. Throws LumivaneError::captureFailed, or
    /// Cancelled once a stop is requested.
    virtual QCoro::Task<ReducedScreenImage> encode(QImage image, int longEdge, double quality,
                                                   std::stop_token stop) = 0;
};

} // namespace lumivane
