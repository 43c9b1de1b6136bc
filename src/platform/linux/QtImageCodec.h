#pragma once

#include "platform/ImageCodec.h"

namespace lumivane {

/// Resampling and JPEG encoding by the toolkit's image library. Without state.
///
/// Images of any format, stride and colour space are taken; alpha is skipped, and what is tagged
/// with another colour space is converted to sRGB.
class QtImageCodec final : public ImageCodec {
public:
    std::optional<QImage> resampleRgb(const QImage& image, PixelSize size) const override;
    std::optional<QImage> resampleGrey(const QImage& image, PixelSize size) const override;
    std::optional<QByteArray> encodeJpeg(const QImage& image, double quality) const override;
};

} // namespace lumivane
