#pragma once

#include "platform/ImageCodec.h"

#include <mutex>
#include <vector>

namespace lumivane::test {

/// A codec that records what it is asked and answers what a test sets. Its pictures are flat; its
/// JPEG bytes are `jpeg`. Set the answers before work begins; records may be read at any time.
class FakeImageCodec final : public ImageCodec {
public:
    /// How an operation ends: as it should, with none, or with what is no picture.
    enum class Answer { good, none, nullImage, outOfMemory };

    struct Resampling {
        PixelSize from;
        PixelSize to;

        bool operator==(const Resampling&) const = default;
    };

    struct Encoding {
        PixelSize size;
        double quality;

        bool operator==(const Encoding&) const = default;
    };

    std::optional<QImage> resampleRgb(const QImage& image, PixelSize size) const override;
    std::optional<QImage> resampleGrey(const QImage& image, PixelSize size) const override;
    std::optional<QByteArray> encodeJpeg(const QImage& image, double quality) const override;

    std::vector<Resampling> rgbResamplings() const;
    std::vector<Resampling> greyResamplings() const;
    std::vector<Encoding> encodings() const;

    /// Whether any operation was called on the main thread.
    bool wasUsedOnMainThread() const;

    Answer rgbAnswer = Answer::good;
    Answer greyAnswer = Answer::good;
    Answer jpegAnswer = Answer::good;
    QImage grey; ///< what resampleGrey gives, unless it is null
    QByteArray jpeg = QByteArrayLiteral("jpeg");

private:
    void noteThread() const;

    mutable std::mutex m_mutex;
    mutable bool m_wasUsedOnMainThread = false;
    mutable std::vector<Resampling> m_rgbResamplings;
    mutable std::vector<Resampling> m_greyResamplings;
    mutable std::vector<Encoding> m_encodings;
};

} // namespace lumivane::test
