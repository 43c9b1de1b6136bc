#pragma once

#include "screen/ScreenText.h"

#include <QImage>
#include <qcoro/qcorotask.h>

#include <stop_token>

namespace lumivane {

/// Reads the words of a frame on this machine. Called on the main thread; works off it.
class ScreenTextExtracting {
public:
    virtual ~ScreenTextExtracting() = default;

    /// A frame without words gives an empty text. Throws LumivaneError::captureFailed, or
    /// Cancelled once a stop is requested. `pointPixelScale` is in pixels per point.
    virtual QCoro::Task<ScreenText> extract(QImage image, double pointPixelScale,
                                            std::stop_token stop) = 0;
};

} // namespace lumivane
