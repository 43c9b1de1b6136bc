#pragma once

#include "screen/CapturedScreen.h"

#include <qcoro/qcorotask.h>

#include <cstdint>
#include <stop_token>

namespace lumivane {

/// How much of a display a frame shows.
enum class ScreenCrop {
    none,        ///< the whole display
    visibleFrame ///< without panels and docks, where that does not cost too much of it
};

/// Takes still frames. Called on the main thread; works off it.
class ScreenCapturing {
public:
    virtual ~ScreenCapturing() = default;

    /// Throws LumivaneError, what the display server throws, or Cancelled.
    virtual QCoro::Task<CapturedScreen> capture(std::uint32_t displayID, ScreenCrop crop,
                                                std::stop_token stop) = 0;
};

/// Pays the first-use cost of the capture path ahead of a trigger.
class CaptureWarming {
public:
    virtual ~CaptureWarming() = default;

    /// Never fails; calls that come too soon after another do nothing.
    virtual QCoro::Task<void> warmUp() = 0;
};

} // namespace lumivane
