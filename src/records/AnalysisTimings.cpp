#include "records/AnalysisTimings.h"

#include <algorithm>

namespace lumivane {

namespace {

std::optional<std::int64_t> pixelsOnTheWire(std::int64_t pixels) {
    return pixels <= 0 ? std::nullopt
                       : std::optional(std::min(pixels, AnalysisTimings::pixelLimit));
}

} // namespace

ClientMetrics AnalysisTimings::clientMetrics() const {
    const auto clamp = [](std::int64_t value) {
        return std::min(std::max<std::int64_t>(value, 0), timingLimit);
    };
    return {clamp(captureMS),
            clamp(ocrMS),
            clamp(encodeMS),
            clamp(clientMS),
            pixelsOnTheWire(imagePixelWidth),
            pixelsOnTheWire(imagePixelHeight)};
}

std::int64_t AnalysisTimings::milliseconds(std::chrono::nanoseconds duration) {
    const auto whole = std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
    return std::max<std::int64_t>(whole, 0);
}

} // namespace lumivane
