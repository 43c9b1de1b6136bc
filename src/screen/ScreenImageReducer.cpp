#include "screen/ScreenImageReducer.h"

#include "async/PoolJob.h"
#include "domain/LumivaneError.h"
#include "platform/ImageCodec.h"
#include "screen/InkGrid.h"
#include "telemetry/LogBand.h"
#include "telemetry/LumivaneLog.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <optional>
#include <utility>

namespace lumivane {

namespace {

PixelSize sizeOf(const QImage& image) { return {image.width(), image.height()}; }

int scaledEdge(int edge, double ratio) {
    return std::max(1, static_cast<int>(std::round(edge * ratio)));
}

/// 0 for a quality that is no number.
double clampedQuality(double quality) { return quality > 0 ? std::min(quality, 1.0) : 0; }

} // namespace

ScreenImageReducer::ScreenImageReducer(const ImageCodec& codec, QThreadPool& pool)
    : m_codec(&codec)
    , m_pool(&pool) {}

QCoro::Task<ReducedScreenImage> ScreenImageReducer::encode(QImage image, int longEdge,
                                                           double quality, std::stop_token stop) {
    auto job = [reducer = *this, image = std::move(image), longEdge,
                quality](const std::stop_token& jobStop) {
        return reducer.reduce(image, longEdge, quality, jobStop);
    };
    return runOnPool(*m_pool, std::move(job), std::move(stop));
}

ReducedScreenImage ScreenImageReducer::reduce(const QImage& image, int longEdge, double quality,
                                              const std::stop_token& stop) const {
    const QImage small = scaled(image, longEdge);
    throwIfStopped(stop);
    ReducedScreenImage reduced{encodeJPEG(small, quality), small.width(), small.height()};
    LumivaneLog::capture.debug("Capture reduced; pixelWidth=%{public}ld pixelHeight=%{public}ld "
                               "jpegBytesBucket=%{public}ld",
                               reduced.pixelWidth, reduced.pixelHeight,
                               LogBand::imageBytes(reduced.data.size()));
    return reduced;
}

QImage ScreenImageReducer::scaled(const QImage& image, int longEdge) const {
    const PixelSize target = targetSize(sizeOf(image), longEdge);
    return target == sizeOf(image) ? image : resize(image, target);
}

PixelSize ScreenImageReducer::targetSize(PixelSize size, int longEdge) {
    const int largest = std::max(size.width, size.height);
    if (size.width <= 0 || size.height <= 0 || longEdge <= 0 || longEdge >= largest) {
        return size;
    }
    const double ratio = static_cast<double>(longEdge) / largest;
    return {scaledEdge(size.width, ratio), scaledEdge(size.height, ratio)};
}

QImage ScreenImageReducer::resize(const QImage& image, PixelSize size) const {
    const std::optional<QImage> resized = m_codec->resampleRgb(image, size);
    if (!resized) {
        LumivaneLog::capture.error("Could not allocate the downscale context");
        throw LumivaneError(LumivaneError::Case::captureFailed);
    }
    if (resized->isNull()) {
        LumivaneLog::capture.error("Downscaling produced no image");
        throw LumivaneError(LumivaneError::Case::captureFailed);
    }
    return *resized;
}

QByteArray ScreenImageReducer::encodeJPEG(const QImage& image, double quality) const {
    std::optional<QByteArray> bytes;
    try {
        bytes = m_codec->encodeJpeg(image, clampedQuality(quality));
    } catch (const std::bad_alloc&) {
        LumivaneLog::capture.error("Could not create the JPEG destination");
        throw LumivaneError(LumivaneError::Case::captureFailed);
    }
    if (!bytes) {
        LumivaneLog::capture.error("JPEG encoding failed");
        throw LumivaneError(LumivaneError::Case::captureFailed);
    }
    return *std::move(bytes);
}

InkMetrics ScreenImageReducer::inkMetrics(const QImage& image,
                                          const std::vector<Rect>& textBoxes) const {
    const PixelSize grid = inkGridSize(sizeOf(image));
    if (grid.width <= 0 || grid.height <= 0) {
        return InkMetrics::empty;
    }
    const std::optional<QImage> grey = m_codec->resampleGrey(image, grid);
    if (!grey) {
        LumivaneLog::capture.debug("Ink metrics skipped; the grey context could not be allocated");
        return InkMetrics::empty;
    }
    if (sizeOf(*grey) != grid || grey->format() != QImage::Format_Grayscale8) {
        return InkMetrics::empty;
    }
    return measureInk(*grey, textMask(textBoxes, grid));
}

} // namespace lumivane
