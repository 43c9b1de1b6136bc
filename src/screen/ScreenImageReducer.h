#pragma once

#include "domain/Geometry.h"
#include "screen/ScreenImageEncoding.h"

#include <QByteArray>
#include <QImage>
#include <QThreadPool>

#include <cstdint>
#include <vector>

namespace lumivane {

class ImageCodec;

/// How much of a frame is text and how much is strong detail beside it. Fractions from 0 to 1.
struct InkMetrics {
    double nonTextEnergy = 0; ///< share of cells with an edge outside text
    double textCoverage = 0;  ///< share of cells under text

    static const InkMetrics empty;

    bool operator==(const InkMetrics&) const = default;
};

inline constexpr InkMetrics InkMetrics::empty{};

/// Scales a frame down, encodes it once as a JPEG in memory, and measures a frame's ink.
///
/// It holds no state but its two collaborators, which outlive it and every job on the pool. All
/// operations but `encode` are synchronous and run on any thread; those that fail throw
/// LumivaneError::captureFailed.
class ScreenImageReducer final : public ScreenImageEncoding {
public:
    static constexpr int inkGridLongEdge = 96;
    static constexpr int inkGridMaximumHeight = 4 * inkGridLongEdge;
    static constexpr int inkGradientThreshold = 12; ///< grey levels that are no edge yet

    ScreenImageReducer(const ImageCodec& codec, QThreadPool& pool);

    QCoro::Task<ReducedScreenImage> encode(QImage image, int longEdge, double quality,
                                           std::stop_token stop) override;

    /// The image at its target size; the very same image where that is its own size.
    QImage scaled(const QImage& image, int longEdge) const;

    /// The size at which the greater side measures `longEdge`; never larger than `size`.
    static PixelSize targetSize(PixelSize size, int longEdge);

    QImage resize(const QImage& image, PixelSize size) const;

    /// `quality` is held to 0..1.
    QByteArray encodeJPEG(const QImage& image, double quality) const;

    /// Boxes are fractions of the frame, y growing down. One with a coordinate that is no number
    /// covers nothing. Never fails.
    InkMetrics inkMetrics(const QImage& image, const std::vector<Rect>& textBoxes) const;

private:
    ReducedScreenImage reduce(const QImage& image, int longEdge, double quality,
                              const std::stop_token& stop) const;

    const ImageCodec* m_codec;
    QThreadPool* m_pool;
};

} // namespace lumivane
