#pragma once

#include "domain/Geometry.h"

#include <QByteArray>
#include <QImage>

#include <optional>

namespace lumivane {

/// Resampling and JPEG encoding in memory: mechanism only. Any thread; nothing touches the disk.
class ImageCodec {
public:
    virtual ~ImageCodec() = default;

    /// A high-quality resampling to 8-bit RGB in sRGB without alpha, exactly `size` pixels; none
    /// when memory for it cannot be had.
    virtual std::optional<QImage> resampleRgb(const QImage& image, PixelSize size) const = 0;

    /// A medium-quality resampling to 8-bit grey, exactly `size` pixels, rows without padding
    /// beyond QImage's own; none when memory for it cannot be had.
    virtual std::optional<QImage> resampleGrey(const QImage& image, PixelSize size) const = 0;

    /// A baseline JPEG without metadata. `quality` runs from 0 to 1. None when encoding fails;
    /// std::bad_alloc when memory to encode into cannot be had.
    virtual std::optional<QByteArray> encodeJpeg(const QImage& image, double quality) const = 0;
};

} // namespace lumivane
