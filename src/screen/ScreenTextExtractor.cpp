#include "screen/ScreenTextExtractor.h"

#include "async/PoolJob.h"
#include "domain/Characters.h"
#include "domain/LumivaneError.h"
#include "records/AnalysisTimings.h"
#include "screen/ScreenImagePolicy.h"
#include "screen/ScreenImageReducer.h"
#include "screen/ScreenTextLayout.h"
#include "telemetry/LumivaneLog.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace lumivane {

namespace {

std::int64_t percent(double fraction) {
    return static_cast<std::int64_t>(std::llround(fraction * 100));
}

void logExtraction(const ScreenReading& reading, std::int64_t ocrLongEdge) {
    const ScreenText& text = reading.text;
    LumivaneLog::capture.log(
        "Screen text extracted; chars=%{public}ld fragments=%{public}ld ocrLongEdge=%{public}ld "
        "confidencePercent=%{public}ld coveragePercent=%{public}ld "
        "nonTextEnergyPercent=%{public}ld truncated=%{bool,public}d durationMS=%{public}ld",
        text.charCount(), static_cast<std::int64_t>(reading.fragments.size()), ocrLongEdge,
        percent(text.meanConfidence()), percent(text.textCoverage()), percent(text.nonTextEnergy()),
        text.truncated, text.durationMS);
}

} // namespace

ScreenTextExtractor::ScreenTextExtractor(TextRecogniser& recogniser,
                                         const ScreenImageReducer& reducer, QThreadPool& pool,
                                         const Clock& clock)
    : m_recogniser(&recogniser)
    , m_reducer(&reducer)
    , m_pool(&pool)
    , m_clock(&clock) {}

QCoro::Task<ScreenText> ScreenTextExtractor::extract(QImage image, double pointPixelScale,
                                                     std::stop_token stop) {
    auto job = [extractor = *this, begin = m_clock->now(), image = std::move(image),
                pointPixelScale](const std::stop_token& jobStop) {
        return extractor.readSince(begin, image, pointPixelScale, jobStop).text;
    };
    return runOnPool(*m_pool, std::move(job), std::move(stop));
}

ScreenReading ScreenTextExtractor::read(const QImage& image, double pointPixelScale,
                                        const std::stop_token& stop) const {
    return readSince(m_clock->now(), image, pointPixelScale, stop);
}

ScreenReading ScreenTextExtractor::readSince(MonotonicInstant begin, const QImage& image,
                                             double pointPixelScale,
                                             const std::stop_token& stop) const {
    const int pixelLongEdge = std::max(image.width(), image.height());
    const int ocrLongEdge = ScreenImagePolicy::ocrLongEdge(pixelLongEdge, pointPixelScale);
    const QImage scaled = m_reducer->scaled(image, ocrLongEdge);
    throwIfStopped(stop);
    const std::vector<TextFragment> fragments = recognise(scaled, stop);
    throwIfStopped(stop);

    ScreenReading reading;
    reading.fragments = ScreenTextLayout::accepted(fragments);
    ScreenTextLayoutResult laidOut = ScreenTextLayout::transcript(fragments);
    reading.text.signals = measure(laidOut.text, reading.fragments, scaled);
    reading.text.text = std::move(laidOut.text);
    reading.text.truncated = laidOut.truncated;
    reading.text.durationMS = AnalysisTimings::milliseconds(m_clock->now() - begin);
    logExtraction(reading, ocrLongEdge);
    return reading;
}

std::vector<TextFragment> ScreenTextExtractor::recognise(const QImage& image,
                                                         const std::stop_token& stop) const {
    std::vector<TextFragment> fragments;
    try {
        for (const RecognisedRun& run : m_recogniser->recognise(image, stop)) {
            if (std::optional<TextFragment> made = fragment(run)) {
                fragments.push_back(*std::move(made));
            }
        }
    } catch (const std::exception&) {
        // A recogniser that was stopped may fail in its own words.
        throwIfStopped(stop);
        LumivaneLog::capture.error("Text recognition failed");
        throw LumivaneError(LumivaneError::Case::captureFailed);
    }
    return fragments;
}

ScreenTextSignals ScreenTextExtractor::measure(const QString& text,
                                               const std::vector<TextFragment>& accepted,
                                               const QImage& image) const {
    std::vector<Rect> boxes;
    boxes.reserve(accepted.size());
    for (const TextFragment& each : accepted) {
        boxes.push_back(each.box);
    }
    const InkMetrics ink = m_reducer->inkMetrics(image, boxes);
    return {characterCount(text), meanConfidence(accepted), ink.textCoverage, ink.nonTextEnergy};
}

double ScreenTextExtractor::meanConfidence(const std::vector<TextFragment>& fragments) {
    double weighted = 0;
    double characters = 0;
    for (const TextFragment& each : fragments) {
        const auto count = static_cast<double>(characterCount(each.text));
        weighted += each.confidence * count;
        characters += count;
    }
    return characters > 0 ? weighted / characters : 0;
}

std::optional<TextFragment> ScreenTextExtractor::fragment(const RecognisedRun& run) {
    if (!run.text) {
        return std::nullopt;
    }
    const Rect& box = run.box;
    return TextFragment{
        *run.text, run.confidence, {box.minX(), 1 - box.maxY(), box.width, box.height}};
}

} // namespace lumivane
