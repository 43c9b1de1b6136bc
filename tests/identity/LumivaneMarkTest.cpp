#include "ui/identity/LumivaneMark.h"

#include <QPainter>

#include <gtest/gtest.h>

namespace lumivane {

namespace {

constexpr int edge = 400; // ten pixels to a unit of the grid

QImage monochrome(QSize size, const QColor& color) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    LumivaneMonochromeMark::draw(painter, QRectF(QPointF(0, 0), size), color);
    return image;
}

QColor at(const QImage& image, double gridX, double gridY) {
    return image.pixelColor(int(gridX * 10), int(gridY * 10));
}

} // namespace

TEST(LumivaneMonochromeMark, RingHasItsLineWidth) {
    const QImage image = monochrome({edge, edge}, Qt::red);
    // The ring's left run lies at x = 5 and is 5.5 wide.
    EXPECT_EQ(at(image, 2.1, 20).alpha(), 0);
    EXPECT_EQ(at(image, 2.4, 20), QColor(Qt::red));
    EXPECT_EQ(at(image, 7.6, 20), QColor(Qt::red));
    EXPECT_EQ(at(image, 7.9, 20).alpha(), 0);
}

TEST(LumivaneMonochromeMark, PupilHasItsDiameter) {
    const QImage image = monochrome({edge, edge}, Qt::red);
    EXPECT_EQ(at(image, 20, 20), QColor(Qt::red));
    EXPECT_EQ(at(image, 15.2, 20), QColor(Qt::red));
    EXPECT_EQ(at(image, 14.8, 20).alpha(), 0);
    EXPECT_EQ(at(image, 20, 24.7), QColor(Qt::red));
    EXPECT_EQ(at(image, 20, 25.2).alpha(), 0);
    // Round, not square.
    EXPECT_EQ(at(image, 16, 16).alpha(), 0);
}

TEST(LumivaneMonochromeMark, EndsAreRoundAndTheLowerRightCornerIsOpen) {
    const QImage image = monochrome({edge, edge}, Qt::red);
    EXPECT_EQ(at(image, 30.5, 35), QColor(Qt::red));
    EXPECT_EQ(at(image, 30.4, 37.3).alpha(), 0);
    EXPECT_EQ(at(image, 33, 33).alpha(), 0);
    EXPECT_EQ(at(image, 7.1, 7.1), QColor(Qt::red));
}

TEST(LumivaneMonochromeMark, FitsTheSmallerSideAndIsCentred) {
    const QImage image = monochrome({200, 40}, Qt::red);
    EXPECT_EQ(image.pixelColor(100, 20), QColor(Qt::red));
    EXPECT_EQ(image.pixelColor(85, 20), QColor(Qt::red));
    EXPECT_EQ(image.pixelColor(70, 20).alpha(), 0);
    EXPECT_EQ(image.pixelColor(130, 20).alpha(), 0);
}

TEST(LumivaneMonochromeMark, LeavesThePainterAsItWas) {
    QImage image(40, 40, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    painter.setPen(Qt::blue);
    painter.setBrush(Qt::green);
    LumivaneMonochromeMark::draw(painter, image.rect(), Qt::red);
    EXPECT_EQ(painter.pen().color(), QColor(Qt::blue));
    EXPECT_EQ(painter.brush().color(), QColor(Qt::green));
    EXPECT_FALSE(painter.testRenderHint(QPainter::Antialiasing));
}

TEST(LumivaneMark, RingAndPupilHaveTheirColoursInBothAppearances) {
    const QImage light = LumivaneMark::image(edge, Appearance::light);
    EXPECT_EQ(light.size(), QSize(edge, edge));
    EXPECT_EQ(at(light, 5, 20), QColor(0x00, 0x71, 0x7C));
    EXPECT_EQ(at(light, 20, 20), QColor(0x0B, 0x32, 0x38));
    EXPECT_EQ(at(light, 11, 20).alpha(), 0);
    const QImage dark = LumivaneMark::image(edge, Appearance::dark);
    EXPECT_EQ(at(dark, 5, 20), QColor(0x6C, 0xD9, 0xD8));
    EXPECT_EQ(at(dark, 20, 20), QColor(0xEA, 0xFB, 0xFA));
}

} // namespace lumivane
