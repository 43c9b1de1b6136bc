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

/// 0 for a quality that is no number.
int percent(double quality) {
    return static_cast<int>(std::lround(quality > 0 ? std::min(quality, 1.0) * 100 : 0));
}

} // namespace

std::optional<QImage> QtImageCodec::resampleRgb(const QImage& image, PixelSize size) const {
    if (image.isNull() || size.width <= 0 || size.height <= 0) {
        return std::nullopt;
    }
    // Averages the area of each target pixel exactly when it reduces, at full speed.
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
    const QImage pixels = inSrgb(opaque(image), image.colorSpace());
    // A bare view: the writer would put an image's texts and resolution into the file.
    const QImage bare(pixels.constBits(), pixels.width(), pixels.height(), pixels.bytesPerLine(),
                      pixels.format());
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(percent(quality));
    if (!writer.write(bare)) {
        return std::nullopt;
    }
    return bytes;
}

} // namespace lumivane
