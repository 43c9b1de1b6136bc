#include "screen/ScreenCaptureService.h"

#include "async/PoolJob.h"
#include "domain/LumivaneError.h"
#include "telemetry/LumivaneLog.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace lumivane {

namespace {

const DisplayInfo& requireDisplay(const std::vector<DisplayInfo>& displays,
                                  std::uint32_t displayID) {
    const auto found =
        std::find_if(displays.begin(), displays.end(), [displayID](const DisplayInfo& display) {
            return display.displayID == displayID;
        });
    if (found == displays.end()) {
        LumivaneLog::capture.error("Requested display is unavailable");
        throw LumivaneError(LumivaneError::Case::displayUnavailable);
    }
    return *found;
}

Rect requireContentRect(const DisplayInfo& display) {
    const Rect contentRect{0, 0, display.frame.width, display.frame.height};
    if (!(display.pointPixelScale > 0) || contentRect.isEmpty()) {
        LumivaneLog::capture.error("Capture filter reported an unusable content rect");
        throw LumivaneError(LumivaneError::Case::captureFailed);
    }
    return contentRect;
}

std::optional<Rect> cropOf(const DisplayServer& displayServer, const DisplayInfo& display,
                           const Rect& contentRect) {
    const auto visibleFrame = displayServer.visibleFrame(display.displayID);
    if (!visibleFrame) {
        LumivaneLog::capture.debug("Chrome crop skipped; the display is no longer attached");
        return std::nullopt;
    }
    return ScreenCaptureService::chromeCropRect(display.frame, *visibleFrame, contentRect);
}

int pixels(double points, double scale) {
    return static_cast<int>(std::max(1LL, std::llround(points * scale)));
}

} // namespace

ScreenCaptureService::ScreenCaptureService(const DisplayServer& displayServer, QThreadPool& pool,
                                           std::int64_t processID)
    : m_displayServer(displayServer)
    , m_pool(pool)
    , m_processID(processID) {}

QCoro::Task<CapturedScreen> ScreenCaptureService::capture(std::uint32_t displayID, ScreenCrop crop,
                                                          std::stop_token stop) {
    return run(&m_displayServer, &m_pool, m_processID, displayID, crop, std::move(stop));
}

QCoro::Task<CapturedScreen> ScreenCaptureService::run(const DisplayServer* displayServer,
                                                      QThreadPool* pool, std::int64_t processID,
                                                      std::uint32_t displayID, ScreenCrop crop,
                                                      std::stop_token stop) {
    const bool cropToVisibleFrame = crop == ScreenCrop::visibleFrame;
    LumivaneLog::capture.log(
        "Capture requested; display=%{public}u cropToVisibleFrame=%{bool,public}d", displayID,
        cropToVisibleFrame);
    if (!displayServer->mayCapture()) {
        LumivaneLog::capture.error(
            "Capture blocked because Screen Recording permission is missing");
        throw LumivaneError(LumivaneError::Case::screenRecordingDenied);
    }

    auto listDisplays = [displayServer](const std::stop_token&) {
        return displayServer->displays();
    };
    const auto displays = co_await runOnPool(*pool, std::move(listDisplays), stop);
    const DisplayInfo display = requireDisplay(displays, displayID);
    const Rect contentRect = requireContentRect(display);
    const double scale = display.pointPixelScale;

    std::optional<Rect> chromeCrop;
    if (cropToVisibleFrame) {
        chromeCrop = cropOf(*displayServer, display, contentRect);
    }
    const Rect rect = chromeCrop.value_or(contentRect);
    const PixelSize size{pixels(rect.width, scale), pixels(rect.height, scale)};
    const StillRequest request{displayID, processID, chromeCrop, size};
    LumivaneLog::capture.debug("Capture configured; scale=%{public}f pixelWidth=%{public}ld "
                               "pixelHeight=%{public}ld cropped=%{bool,public}d",
                               scale, std::int64_t(size.width), std::int64_t(size.height),
                               chromeCrop.has_value());

    auto takeStill = [displayServer, request](const std::stop_token&) {
        return displayServer->still(request);
    };
    QImage image = co_await runOnPool(*pool, std::move(takeStill), stop);
    LumivaneLog::capture.debug(
        "Capture produced an image; pixelWidth=%{public}ld pixelHeight=%{public}ld",
        std::int64_t(image.width()), std::int64_t(image.height()));
    co_return CapturedScreen{std::move(image), scale, rect, displayID};
}

std::optional<Rect> ScreenCaptureService::chromeCropRect(const Rect& frame,
                                                         const Rect& visibleFrame,
                                                         const Rect& contentRect) {
    if (contentRect.isEmpty() || frame.isEmpty() || visibleFrame.isEmpty()) {
        LumivaneLog::capture.debug("Chrome crop skipped; the visible frame is degenerate");
        return std::nullopt;
    }
    if (visibleFrame == frame) {
        return std::nullopt;
    }
    const Rect fromTopLeft{visibleFrame.minX() - frame.minX(), frame.maxY() - visibleFrame.maxY(),
                           visibleFrame.width, visibleFrame.height};
    const Rect crop = fromTopLeft.intersected(contentRect);
    if (crop.isEmpty()) {
        LumivaneLog::capture.debug(
            "Chrome crop skipped; the visible frame falls outside the captured content");
        return std::nullopt;
    }
    const double kept = crop.area() / contentRect.area();
    if (kept < 1 - maximumChromeCropFraction) {
        LumivaneLog::capture.log(
            "Chrome crop skipped; it would remove too much area; keptPercent=%{public}ld",
            std::int64_t(std::llround(kept * 100)));
        return std::nullopt;
    }
    return crop;
}

} // namespace lumivane
