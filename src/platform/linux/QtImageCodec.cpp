#include "platform/linux/QtImageCodec.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImageWriter>

#include <algorithm>
#include <cmath>

namespace lumivane {

namespace {

constexpr int jpegLargestEdge = 65535;

/// Opaque 8-bit RGB; the pixels are shared where they are that already.
QImage opaque(const QImage& image) { return image.convertToFormat(QImage::Format_RGB32); }

QImage inSrgb(QImage image, const QColorSpace& source) {
    const QColorSpace srgb(QColorSpace::SRgb);
    if (source.isValid() && source != srgb) {
        image.setColorSpace(source);
        image.convertToColorSpace(srgb);
    }
    image.setColorSpace({});
    return image;
}

} // namespace

std::optional<QImage> QtImageCodec::resampleRgb(const QImage& image, PixelSize size) const {
    const QImage resampled = opaque(image).scaled(size.width, size.height, Qt::IgnoreAspectRatio,
                                                  Qt::SmoothTransformation);
    if (resampled.isNull()) {
        return std::nullopt;
    }
    return inSrgb(resampled.convertToFormat(QImage::Format_RGB32), image.colorSpace());
}

std::optional<QImage> QtImageCodec::resampleGrey(const QImage& image, PixelSize size) const {
    const std::optional<QImage> resampled = resampleRgb(image, size);
    if (!resampled) {
        return std::nullopt;
    }
    return resampled->convertToFormat(QImage::Format_Grayscale8);
}

std::optional<QByteArray> QtImageCodec::encodeJpeg(const QImage& image, double quality) const {
    if (image.isNull() || std::max(image.width(), image.height()) > jpegLargestEdge) {
        return std::nullopt;
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(static_cast<int>(std::lround(std::clamp(quality, 0.0, 1.0) * 100)));
    if (!writer.write(inSrgb(opaque(image), image.colorSpace()))) {
        return std::nullopt;
    }
    return bytes;
}

} // namespace lumivane
