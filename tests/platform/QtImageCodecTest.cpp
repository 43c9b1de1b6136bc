#include "platform/linux/QtImageCodec.h"

#include "support/FakeImageCodec.h"

#include <QColorSpace>
#include <QPainter>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace lumivane {

// The contract, held to by the real codec and its fake alike

struct CodecMaker {
    std::string name;
    std::unique_ptr<ImageCodec> (*make)();
};

class ImageCodecContract : public testing::TestWithParam<CodecMaker> {
protected:
    std::unique_ptr<ImageCodec> codec = GetParam().make();
};

QImage flat(int width, int height, const QColor& color,
            QImage::Format format = QImage::Format_RGB32) {
    QImage image(width, height, format);
    image.fill(color);
    return image;
}

TEST_P(ImageCodecContract, ResamplingGivesExactlyTheSizeAskedFor) {
    const QImage image = flat(50, 20, Qt::red);
    for (const PixelSize size : {PixelSize{25, 10}, {1, 1}, {50, 20}, {7, 20}, {80, 40}}) {
        const auto rgb = codec->resampleRgb(image, size);
        ASSERT_TRUE(rgb);
        EXPECT_EQ(rgb->size(), QSize(size.width, size.height));
        EXPECT_EQ(rgb->format(), QImage::Format_RGB32);
        const auto grey = codec->resampleGrey(image, size);
        ASSERT_TRUE(grey);
        EXPECT_EQ(grey->size(), QSize(size.width, size.height));
        EXPECT_EQ(grey->format(), QImage::Format_Grayscale8);
    }
}

TEST_P(ImageCodecContract, NullImageGivesNone) {
    EXPECT_FALSE(codec->resampleRgb(QImage(), {10, 10}));
    EXPECT_FALSE(codec->resampleGrey(QImage(), {10, 10}));
    EXPECT_FALSE(codec->encodeJpeg(QImage(), 0.7));
}

TEST_P(ImageCodecContract, ImageThatTheFormatCannotHoldGivesNone) {
    EXPECT_FALSE(codec->encodeJpeg(flat(65536, 1, Qt::red), 0.7));
    EXPECT_FALSE(codec->encodeJpeg(flat(1, 65536, Qt::red), 0.7));
}

TEST_P(ImageCodecContract, EncodingGivesBytes) {
    const auto bytes = codec->encodeJpeg(flat(3, 2, Qt::red), 0.7);
    ASSERT_TRUE(bytes);
    EXPECT_FALSE(bytes->isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    All, ImageCodecContract,
    testing::Values(
        CodecMaker{"Qt",
                   [] { return std::unique_ptr<ImageCodec>(std::make_unique<QtImageCodec>()); }},
        CodecMaker{
            "Fake",
            [] { return std::unique_ptr<ImageCodec>(std::make_unique<test::FakeImageCodec>()); }}),
    [](const auto& info) { return info.param.name; });

// What only the real one does

/// Lines of small type, thin rules and a gradient.
QImage screenful(int width, int height) {
    QImage image = flat(width, height, Qt::white);
    QPainter painter(&image);
    for (int y = 12; y < height; y += 14) {
        painter.setPen(QColor(y * 7 % 180, y * 13 % 150, y * 3 % 255));
        painter.drawText(4, y, u"The quick brown fox, 0123456789; jumps over the lazy dog."_qs);
        painter.drawLine(width / 2, y, width, y * 3 / 2);
    }
    QLinearGradient gradient(0, 0, width, height);
    gradient.setColorAt(0, Qt::blue);
    gradient.setColorAt(1, Qt::yellow);
    painter.fillRect(width * 2 / 3, height / 2, width / 4, height / 3, gradient);
    return image;
}

/// The mean of channel `shift` over the part of the image that one target pixel covers.
double areaMean(const QImage& image, QRectF area, int shift) {
    double sum = 0;
    for (int y = static_cast<int>(area.top()); y < area.bottom() && y < image.height(); ++y) {
        const double rows =
            std::min<double>(y + 1, area.bottom()) - std::max<double>(y, area.top());
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = static_cast<int>(area.left()); x < area.right() && x < image.width(); ++x) {
            const double columns =
                std::min<double>(x + 1, area.right()) - std::max<double>(x, area.left());
            sum += rows * columns * ((line[x] >> shift) & 0xFF);
        }
    }
    return sum / (area.width() * area.height());
}

/// Peak signal-to-noise ratio, in decibels, against averaging in floating point.
double likeness(const QImage& image, const QImage& small) {
    const double xScale = static_cast<double>(image.width()) / small.width();
    const double yScale = static_cast<double>(image.height()) / small.height();
    double squares = 0;
    for (int y = 0; y < small.height(); ++y) {
        for (int x = 0; x < small.width(); ++x) {
            const QRectF area(x * xScale, y * yScale, xScale, yScale);
            for (const int shift : {0, 8, 16}) {
                const int value = static_cast<int>(small.pixel(x, y) >> shift) & 0xFF;
                const double difference = value - areaMean(image, area, shift);
                squares += difference * difference;
            }
        }
    }
    return 10 * std::log10(255.0 * 255.0 * 3 * small.width() * small.height() / squares);
}

class QtImageCodecTest : public testing::Test {
protected:
    QRgb onePixel(const QImage& image) {
        const auto small = codec.resampleRgb(image, {1, 1});
        return small ? small->pixel(0, 0) : 0;
    }

    QtImageCodec codec;
};

TEST_F(QtImageCodecTest, ReductionIsThatOfAveragingAreas) {
    const QImage image = screenful(720, 450);
    for (const PixelSize size : {PixelSize{256, 160}, {540, 338}, {96, 60}, {719, 449}}) {
        const auto small = codec.resampleRgb(image, size);
        ASSERT_TRUE(small);
        EXPECT_GT(likeness(image, *small), 50) << size.width;
    }
}

TEST_F(QtImageCodecTest, FlatColoursStayAsTheyAre) {
    for (const QColor& color :
         {QColor(1, 2, 3), QColor(255, 255, 255), QColor(0, 0, 0), QColor(127, 128, 254)}) {
        const auto small = codec.resampleRgb(flat(300, 200, color), {96, 64});
        ASSERT_TRUE(small);
        for (const QPoint point : {QPoint(0, 0), QPoint(95, 63), QPoint(50, 30)}) {
            EXPECT_EQ(small->pixel(point), color.rgb());
        }
    }
}

TEST_F(QtImageCodecTest, ExtremeShapesAreReduced) {
    const auto flatStrip = codec.resampleRgb(flat(5000, 2, Qt::red), {1024, 1});
    ASSERT_TRUE(flatStrip);
    EXPECT_EQ(flatStrip->size(), QSize(1024, 1));
    EXPECT_EQ(flatStrip->pixel(1023, 0), QColor(Qt::red).rgb());
    const auto tallStrip = codec.resampleGrey(flat(1, 60000, Qt::white), {1, 384});
    ASSERT_TRUE(tallStrip);
    EXPECT_EQ(tallStrip->constScanLine(383)[0], 255);
}

TEST_F(QtImageCodecTest, ImagesOfEveryFormatAreTaken) {
    for (int format = QImage::Format_Mono; format < QImage::NImageFormats; ++format) {
        const auto imageFormat = static_cast<QImage::Format>(format);
        if (imageFormat == QImage::Format_Alpha8) {
            continue; // no colours at all
        }
        const bool hasTwoColors = QImage::toPixelFormat(imageFormat).bitsPerPixel() == 1;
        const QColor color = hasTwoColors ? Qt::black : Qt::blue;
        const QImage image = flat(8, 8, color).convertToFormat(imageFormat);
        const QRgb expected = image.convertToFormat(QImage::Format_RGB32).pixel(0, 0);
        EXPECT_EQ(onePixel(image), expected) << format;
        EXPECT_TRUE(codec.resampleGrey(image, {2, 2})) << format;
        EXPECT_TRUE(codec.encodeJpeg(image, 0.7)) << format;
    }
}

TEST_F(QtImageCodecTest, AlphaIsSkipped) {
    EXPECT_EQ(onePixel(flat(8, 8, QColor(10, 200, 30, 64), QImage::Format_ARGB32)),
              qRgb(10, 200, 30));
    EXPECT_EQ(onePixel(flat(8, 8, QColor(10, 200, 30, 0), QImage::Format_ARGB32)),
              qRgb(10, 200, 30));
    EXPECT_EQ(onePixel(flat(8, 8, QColor(0, 255, 0, 128), QImage::Format_ARGB32_Premultiplied)),
              qRgb(0, 255, 0));
    // The fourth byte of a format without alpha may hold anything.
    QImage undefined(8, 8, QImage::Format_RGB32);
    undefined.fill(0x00123456U);
    EXPECT_EQ(onePixel(undefined), qRgb(0x12, 0x34, 0x56));
    const auto half = codec.resampleRgb(undefined, {4, 4});
    ASSERT_TRUE(half);
    EXPECT_EQ(half->pixel(3, 3), qRgb(0x12, 0x34, 0x56));
}

TEST_F(QtImageCodecTest, RowsMayBePaddedToAnyStride) {
    constexpr int stride = 3 * 5 + 7;
    std::vector<uchar> bytes(stride * 4, 0xEE); // the padding's value must not show
    for (int row = 0; row < 4; ++row) {
        std::fill_n(bytes.begin() + row * stride, 3 * 5, 0x40);
    }
    const QImage image(bytes.data(), 5, 4, stride, QImage::Format_RGB888);
    const auto small = codec.resampleRgb(image, {3, 2});
    ASSERT_TRUE(small);
    EXPECT_EQ(small->pixel(2, 1), qRgb(0x40, 0x40, 0x40));
    const auto grey = codec.resampleGrey(image, {3, 2});
    ASSERT_TRUE(grey);
    EXPECT_EQ(grey->constScanLine(1)[2], 0x40);
}

TEST_F(QtImageCodecTest, OtherColourSpacesAreConvertedAndNoTagIsLeft) {
    QImage image = flat(8, 8, QColor(200, 100, 50));
    const QRgb untagged = onePixel(image);
    EXPECT_EQ(untagged, qRgb(200, 100, 50));
    image.setColorSpace(QColorSpace::SRgb);
    EXPECT_EQ(onePixel(image), untagged);
    image.setColorSpace(QColorSpace::DisplayP3);
    QImage converted = image;
    converted.convertToColorSpace(QColorSpace::SRgb);
    ASSERT_NE(converted.pixel(0, 0), untagged);
    EXPECT_EQ(onePixel(image), converted.pixel(0, 0));
    EXPECT_FALSE(codec.resampleRgb(image, {4, 4})->colorSpace().isValid());
}

TEST_F(QtImageCodecTest, GreyIsTheWeightedMeanOfTheColours) {
    QImage halves = flat(4, 1, Qt::white);
    halves.setPixelColor(0, 0, Qt::black);
    halves.setPixelColor(1, 0, Qt::black);
    const auto two = codec.resampleGrey(halves, {2, 1});
    ASSERT_TRUE(two);
    EXPECT_EQ(two->constScanLine(0)[0], 0);
    EXPECT_EQ(two->constScanLine(0)[1], 255);
    const auto one = codec.resampleGrey(halves, {1, 1});
    ASSERT_TRUE(one);
    EXPECT_NEAR(one->constScanLine(0)[0], 127.5, 1);
    for (int value = 0; value < 256; ++value) {
        const auto grey = codec.resampleGrey(flat(9, 9, QColor(value, value, value)), {3, 3});
        ASSERT_TRUE(grey);
        ASSERT_EQ(grey->constScanLine(1)[1], value);
    }
}

TEST_F(QtImageCodecTest, SizesWithoutPixelsGiveNone) {
    EXPECT_FALSE(codec.resampleRgb(flat(8, 8, Qt::red), {0, 4}));
    EXPECT_FALSE(codec.resampleRgb(flat(8, 8, Qt::red), {4, -1}));
    EXPECT_FALSE(codec.resampleGrey(flat(8, 8, Qt::red), {0, 0}));
}

// JPEG

/// The markers of a JPEG up to its first scan, by their second byte.
std::vector<int> markersOf(const QByteArray& jpeg) {
    std::vector<int> markers;
    qsizetype offset = 2;
    while (offset + 4 <= jpeg.size()) {
        const auto byte = [&](qsizetype index) { return static_cast<uchar>(jpeg[offset + index]); };
        EXPECT_EQ(byte(0), 0xFF);
        markers.push_back(byte(1));
        constexpr int startOfScan = 0xDA;
        if (byte(1) == startOfScan) {
            break;
        }
        offset += 2 + byte(2) * 256 + byte(3);
    }
    return markers;
}

TEST_F(QtImageCodecTest, JpegHoldsThePictureAndItsSize) {
    const QImage image = screenful(320, 200);
    const auto bytes = codec.encodeJpeg(image, 0.95);
    ASSERT_TRUE(bytes);
    const QImage decoded = QImage::fromData(*bytes, "jpeg").convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(decoded.size(), image.size());
    EXPECT_GT(likeness(image, decoded), 20);
}

TEST_F(QtImageCodecTest, JpegIsBaselineWithoutMetadata) {
    QImage image = screenful(64, 40);
    const auto plain = codec.encodeJpeg(image, 0.7);
    ASSERT_TRUE(plain);
    for (const int marker : markersOf(*plain)) {
        // JFIF's own header, tables, baseline frame, scan.
        EXPECT_TRUE(marker == 0xE0 || marker == 0xDB || marker == 0xC4 || marker == 0xC0 ||
                    marker == 0xDA)
            << std::hex << marker;
    }
    EXPECT_TRUE(plain->startsWith("\xFF\xD8"));
    EXPECT_TRUE(plain->endsWith("\xFF\xD9"));
    // What an image carries beside its pixels does not change a byte.
    image.setText(u"Author"_qs, u"canary"_qs);
    image.setText(u"Description"_qs, u"canary"_qs);
    image.setColorSpace(QColorSpace::SRgb);
    image.setDotsPerMeterX(5000);
    image.setDotsPerMeterY(7000);
    image.setDevicePixelRatio(2);
    EXPECT_EQ(codec.encodeJpeg(image, 0.7), plain);
}

TEST_F(QtImageCodecTest, JpegOfATaggedImageIsInSrgb) {
    QImage image = flat(16, 16, QColor(200, 100, 50));
    image.setColorSpace(QColorSpace::DisplayP3);
    QImage converted = image;
    converted.convertToColorSpace(QColorSpace::SRgb);
    converted.setColorSpace({});
    EXPECT_EQ(codec.encodeJpeg(image, 0.9), codec.encodeJpeg(converted, 0.9));
}

TEST_F(QtImageCodecTest, QualityRunsFromZeroToOneAndIsHeldThere) {
    const QImage image = screenful(320, 200);
    const auto sizeAt = [&](double quality) { return codec.encodeJpeg(image, quality)->size(); };
    EXPECT_LT(sizeAt(0), sizeAt(0.3));
    EXPECT_LT(sizeAt(0.3), sizeAt(0.7));
    EXPECT_LT(sizeAt(0.7), sizeAt(1));
    EXPECT_EQ(codec.encodeJpeg(image, 1.5), codec.encodeJpeg(image, 1));
    EXPECT_EQ(codec.encodeJpeg(image, -1), codec.encodeJpeg(image, 0));
    EXPECT_EQ(codec.encodeJpeg(image, std::nan("")), codec.encodeJpeg(image, 0));
}

TEST_F(QtImageCodecTest, QualityOfSevenTenthsIsSeventyPercent) {
    // The luminance table's first entry is 16 at 50 percent and scales with 200 - 2 * percent.
    const auto bytes = codec.encodeJpeg(screenful(32, 32), 0.7);
    ASSERT_TRUE(bytes);
    const qsizetype table = bytes->indexOf("\xFF\xDB");
    ASSERT_GE(table, 0);
    EXPECT_EQ(bytes->at(table + 5), (16 * (200 - 2 * 70) + 50) / 100);
}

} // namespace lumivane
