#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace lumivane {

/// The timings as they go on the wire.
struct ClientMetrics {
    std::int64_t captureMS = 0;
    std::int64_t ocrMS = 0;
    std::int64_t encodeMS = 0;
    std::int64_t clientMS = 0;
    std::optional<std::int64_t> imagePixelWidth;
    std::optional<std::int64_t> imagePixelHeight;

    bool operator==(const ClientMetrics&) const = default;
};

/// Where the time of one run went; the run fills it in as it goes. Times in milliseconds.
struct AnalysisTimings {
    static constexpr std::int64_t timingLimit = 60000;
    static constexpr std::int64_t pixelLimit = 20000;

    std::int64_t captureMS = 0;
    std::int64_t ocrMS = 0;            ///< 0 when no text was read
    std::int64_t encodeMS = 0;         ///< reducing and encoding
    std::int64_t clientMS = 0;         ///< start of the run to the moment before the request
    std::int64_t imagePixelWidth = 0;  ///< of the JPEG that is sent; 0 when none
    std::int64_t imagePixelHeight = 0; ///< of the JPEG that is sent; 0 when none
    bool ocrFallback = false;          ///< text alone was wanted, the image goes; never on the wire

    /// The wire form: times held to 0..timingLimit, sizes of 0 or less absent.
    ClientMetrics clientMetrics() const;

    /// Whole milliseconds of a monotonic duration, cut toward zero and never below 0.
    static std::int64_t milliseconds(std::chrono::nanoseconds duration);

    bool operator==(const AnalysisTimings&) const = default;
};

} // namespace lumivane
