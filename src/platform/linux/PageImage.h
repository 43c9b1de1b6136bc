#pragma once

#include <QImage>
#include <QRect>

#include <memory>

struct Pix;

namespace lumivane {

/// Gives a bitmap of the recognition library back to it.
struct PixDeleter {
    void operator()(Pix* pix) const;
};

using PixHandle = std::unique_ptr<Pix, PixDeleter>;

/// One image as the recognition library wants it: 8-bit grey, dark text on a light ground.
///
/// Light text on a dark ground is turned over before anything is recognised, since the library
/// would otherwise read each of its lines twice. Unchanging after construction; any thread.
class PageImage {
public:
    /// Throws TextRecogniserError when the image is null, too large, or memory cannot be had.
    explicit PageImage(const QImage& image);

    int width() const { return m_width; }

    int height() const { return m_height; }

    /// True when no glyph fits into the image.
    bool isTooSmallForText() const;

    Pix* pix() const { return m_pix.get(); }

    /// A copy of the part of `area` that lies on the page, dark text on a light ground whatever
    /// the ground is there.
    PixHandle textArea(const QRect& area) const;

private:
    int m_width;
    int m_height;
    PixHandle m_pix;
};

} // namespace lumivane
