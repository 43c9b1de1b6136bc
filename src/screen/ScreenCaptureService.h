#pragma once

#include "platform/DisplayServer.h"
#include "screen/ScreenCapturing.h"

#include <QThreadPool>

#include <cstdint>
#include <optional>

namespace lumivane {

/// Takes one still frame of one display, without this program's own windows and, when asked,
/// without panels and docks.
///
/// A plain value without state: calls do not know of each other. The display server is asked on
/// the pool, but for the visible frame, which belongs to the main thread.
class ScreenCaptureService final : public ScreenCapturing {
public:
    /// The greatest share of a display's area that a crop may remove.
    static constexpr double maximumChromeCropFraction = 0.15;

    /// `displayServer` and `pool` outlive it and every capture that it began. Windows of
    /// `processID` are left out of all frames.
    ScreenCaptureService(const DisplayServer& displayServer, QThreadPool& pool,
                         std::int64_t processID);

    /// Throws LumivaneError `screenRecordingDenied`, `displayUnavailable` or `captureFailed`;
    /// errors of the display server are passed on unchanged.
    QCoro::Task<CapturedScreen> capture(std::uint32_t displayID, ScreenCrop crop,
                                        std::stop_token stop) override;

    /// The part of a display that panels and docks leave free, in points with the origin at its
    /// top left; none when nothing is to be cropped, the rectangles make no sense, or the crop
    /// would cost too much. `frame` and `visibleFrame` are in global points, y growing upward.
    static std::optional<Rect> chromeCropRect(const Rect& frame, const Rect& visibleFrame,
                                              const Rect& contentRect);

private:
    static QCoro::Task<CapturedScreen> run(const DisplayServer* displayServer, QThreadPool* pool,
                                           std::int64_t processID, std::uint32_t displayID,
                                           ScreenCrop crop, std::stop_token stop);

    const DisplayServer& m_displayServer;
    QThreadPool& m_pool;
    std::int64_t m_processID;
};

} // namespace lumivane
