#pragma once

#include "records/AnalysisInputMode.h"
#include "records/AnalysisTimings.h"

#include <cstdint>

namespace lumivane {

/// Where the time of one finished run went. Times in milliseconds.
struct AnalysisTelemetry {
    std::int64_t captureMS = 0;
    std::int64_t ocrMS = 0;
    std::int64_t encodeMS = 0;
    std::int64_t networkMS = 0;
    std::int64_t totalMS = 0;
    AnalysisInputMode inputMode = AnalysisInputMode::image;
    std::int64_t screenTextChars = 0;
    std::int64_t imagePixelWidth = 0;
    std::int64_t imagePixelHeight = 0;
    bool ocrFallback = false;
    bool sloExceeded = false; ///< the run overran the soft deadline

    AnalysisTelemetry(const AnalysisTimings& timings, std::int64_t networkMS, std::int64_t totalMS,
                      AnalysisInputMode inputMode, std::int64_t screenTextChars, bool sloExceeded);

    /// Writes the run's one timing line.
    void log() const;

    bool operator==(const AnalysisTelemetry&) const = default;
};

} // namespace lumivane
