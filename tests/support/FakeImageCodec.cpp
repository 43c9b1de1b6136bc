#include "support/FakeImageCodec.h"

#include "async/MainThread.h"

#include <algorithm>
#include <new>

namespace lumivane::test {

namespace {

constexpr int jpegLargestEdge = 65535;

PixelSize sizeOf(const QImage& image) { return {image.width(), image.height()}; }

std::optional<QImage> answered(FakeImageCodec::Answer answer, const QImage& good) {
    switch (answer) {
    case FakeImageCodec::Answer::good:
        return good;
    case FakeImageCodec::Answer::none:
        return std::nullopt;
    case FakeImageCodec::Answer::nullImage:
        return QImage();
    case FakeImageCodec::Answer::outOfMemory:
        throw std::bad_alloc();
    }
    return std::nullopt;
}

QImage flat(PixelSize size, QImage::Format format) {
    QImage image(size.width, size.height, format);
    image.fill(Qt::gray);
    return image;
}

} // namespace

std::optional<QImage> FakeImageCodec::resampleRgb(const QImage& image, PixelSize size) const {
    const std::lock_guard lock(m_mutex);
    noteThread();
    m_rgbResamplings.push_back({sizeOf(image), size});
    return image.isNull() ? std::nullopt : answered(rgbAnswer, flat(size, QImage::Format_RGB32));
}

std::optional<QImage> FakeImageCodec::resampleGrey(const QImage& image, PixelSize size) const {
    const std::lock_guard lock(m_mutex);
    noteThread();
    m_greyResamplings.push_back({sizeOf(image), size});
    if (image.isNull()) {
        return std::nullopt;
    }
    return answered(greyAnswer, grey.isNull() ? flat(size, QImage::Format_Grayscale8) : grey);
}

std::optional<QByteArray> FakeImageCodec::encodeJpeg(const QImage& image, double quality) const {
    const std::lock_guard lock(m_mutex);
    noteThread();
    m_encodings.push_back({sizeOf(image), quality});
    if (jpegAnswer == Answer::outOfMemory) {
        throw std::bad_alloc();
    }
    if (image.isNull() || std::max(image.width(), image.height()) > jpegLargestEdge ||
        jpegAnswer != Answer::good) {
        return std::nullopt;
    }
    return jpeg;
}

std::vector<FakeImageCodec::Resampling> FakeImageCodec::rgbResamplings() const {
    const std::lock_guard lock(m_mutex);
    return m_rgbResamplings;
}

std::vector<FakeImageCodec::Resampling> FakeImageCodec::greyResamplings() const {
    const std::lock_guard lock(m_mutex);
    return m_greyResamplings;
}

std::vector<FakeImageCodec::Encoding> FakeImageCodec::encodings() const {
    const std::lock_guard lock(m_mutex);
    return m_encodings;
}

bool FakeImageCodec::wasUsedOnMainThread() const {
    const std::lock_guard lock(m_mutex);
    return m_wasUsedOnMainThread;
}

void FakeImageCodec::noteThread() const {
    m_wasUsedOnMainThread = m_wasUsedOnMainThread || isMainThread();
}

} // namespace lumivane::test
