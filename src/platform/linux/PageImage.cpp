#include "platform/linux/PageImage.h"

#include "platform/TextRecogniser.h"

#include <leptonica/allheaders.h>

#include <cstring>

namespace lumivane {

namespace {

constexpr int middleGrey = 128;
constexpr int smallestTextEdge = 6; // pixels; below it no letter can be told from another
constexpr int largestEdge = 32767;  // the library counts pixels in 16 bits

/// The grey value that half of the pixels do not exceed. Text covers less than half of any area
/// that it stands in, so this is the ground.
int medianGrey(Pix* pix, int sampling) {
    float median = 0;
    pixGetRankValueMasked(pix, nullptr, 0, 0, sampling, 0.5F, &median, nullptr);
    return static_cast<int>(median);
}

PixHandle greyCopy(const QImage& image) {
    const QImage grey = image.convertToFormat(QImage::Format_Grayscale8);
    PixHandle pix(grey.isNull() ? nullptr : pixCreateNoInit(grey.width(), grey.height(), 8));
    if (!pix) {
        throw TextRecogniserError("no memory for the page");
    }
    const auto rowBytes = static_cast<std::size_t>(pixGetWpl(pix.get())) * sizeof(l_uint32);
    auto* row = reinterpret_cast<unsigned char*>(pixGetData(pix.get()));
    for (int y = 0; y < grey.height(); ++y) {
        std::memcpy(row, grey.constScanLine(y), static_cast<std::size_t>(grey.width()));
        row += rowBytes;
    }
    pixEndianByteSwap(pix.get());
    return pix;
}

} // namespace

void PixDeleter::operator()(Pix* pix) const { pixDestroy(&pix); }

PageImage::PageImage(const QImage& image)
    : m_width(image.width())
    , m_height(image.height()) {
    if (image.isNull() || m_width > largestEdge || m_height > largestEdge) {
        throw TextRecogniserError("the image cannot be read");
    }
    m_pix = greyCopy(image);
    constexpr int sampling = 4;
    if (medianGrey(m_pix.get(), sampling) < middleGrey) {
        pixInvert(m_pix.get(), m_pix.get());
    }
}

bool PageImage::isTooSmallForText() const {
    return m_width < smallestTextEdge || m_height < smallestTextEdge;
}

PixHandle PageImage::textArea(const QRect& area) const {
    const QRect held = area.intersected(QRect(0, 0, m_width, m_height));
    if (held.isEmpty()) {
        return nullptr;
    }
    const std::unique_ptr<Box, void (*)(Box*)> box(
        boxCreate(held.x(), held.y(), held.width(), held.height()), [](Box* b) { boxDestroy(&b); });
    PixHandle part(pixClipRectangle(m_pix.get(), box.get(), nullptr));
    if (part && medianGrey(part.get(), 1) < middleGrey) {
        pixInvert(part.get(), part.get());
    }
    return part;
}

} // namespace lumivane
