#include "telemetry/AnalysisTelemetry.h"

#include "telemetry/LogBand.h"
#include "telemetry/LumivaneLog.h"

namespace lumivane {

AnalysisTelemetry::AnalysisTelemetry(const AnalysisTimings& timings, std::int64_t networkMS,
                                     std::int64_t totalMS, AnalysisInputMode inputMode,
                                     std::int64_t screenTextChars, bool sloExceeded)
    : captureMS(timings.captureMS)
    , ocrMS(timings.ocrMS)
    , encodeMS(timings.encodeMS)
    , networkMS(networkMS)
    , totalMS(totalMS)
    , inputMode(inputMode)
    , screenTextChars(screenTextChars)
    , imagePixelWidth(timings.imagePixelWidth)
    , imagePixelHeight(timings.imagePixelHeight)
    , ocrFallback(timings.ocrFallback)
    , sloExceeded(sloExceeded) {}

void AnalysisTelemetry::log() const {
    LumivaneLog::timing.log(
        "Analysis timing; captureMS=%{public}ld ocrMS=%{public}ld encodeMS=%{public}ld "
        "networkMS=%{public}ld totalMS=%{public}ld inputMode=%{public}s "
        "screenTextCharsBucket=%{public}ld imagePixelWidth=%{public}ld "
        "imagePixelHeight=%{public}ld ocrFallback=%{bool,public}d sloExceeded=%{bool,public}d",
        captureMS, ocrMS, encodeMS, networkMS, totalMS, inputMode,
        LogBand::screenTextChars(screenTextChars), imagePixelWidth, imagePixelHeight, ocrFallback,
        sloExceeded);
}

} // namespace lumivane
