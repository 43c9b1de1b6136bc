#include "ui/identity/LumivaneStatusIconRenderer.h"

#include <QPainter>

#include <gtest/gtest.h>

namespace lumivane {

namespace {

using namespace LumivaneStatusIconRenderer;

constexpr double large = 25; // ten pixels to a unit of the grid

QImage enlarged(LumivaneDisplayState state, std::optional<double> radius = std::nullopt,
                Appearance appearance = Appearance::dark) {
    return bitmapRepresentation(state, radius, appearance, large);
}

QColor at(const QImage& image, double gridX, double gridY) {
    return image.pixelColor(int(gridX / 40 * image.width()), int(gridY / 40 * image.height()));
}

QColor rgb(const SrgbColor& color) {
    return QColor::fromRgbF(float(color.red), float(color.green), float(color.blue)).toRgb();
}

/// How far the pupil reaches from the centre, in units of the grid.
double pupilReach(const QImage& image) {
    const int center = image.width() / 2;
    int reach = 0;
    while (image.pixelColor(center, center - reach).alpha() > 127) {
        ++reach;
    }
    return reach * 40.0 / image.width();
}

} // namespace

TEST(LumivaneStatusIconRenderer, ColoursAreThoseOfTheirStates) {
    EXPECT_EQ(statusColor(LumivaneDisplayState::resting, Appearance::dark),
              (SrgbColor{108 / 255.0, 217 / 255.0, 216 / 255.0, 1}));
    EXPECT_EQ(statusColor(LumivaneDisplayState::resting, Appearance::light),
              (SrgbColor{0, 113 / 255.0, 124 / 255.0, 1}));
    EXPECT_EQ(statusColor(LumivaneDisplayState::capturing, Appearance::dark),
              (SrgbColor{86 / 255.0, 231 / 255.0, 149 / 255.0, 1}));
    EXPECT_EQ(statusColor(LumivaneDisplayState::capturing, Appearance::light),
              (SrgbColor{0, 140 / 255.0, 78 / 255.0, 1}));
    EXPECT_EQ(statusColor(LumivaneDisplayState::paused, Appearance::dark),
              LumivaneTheme::textSecondary.dark);
    EXPECT_EQ(statusColor(LumivaneDisplayState::paused, Appearance::light),
              LumivaneTheme::textSecondary.light);
}

TEST(LumivaneStatusIconRenderer, AStateLooksDifferentUnderEachAppearance) {
    for (const LumivaneDisplayState state : allCases<LumivaneDisplayState>()) {
        const QImage dark = enlarged(state, std::nullopt, Appearance::dark);
        const QImage light = enlarged(state, std::nullopt, Appearance::light);
        EXPECT_EQ(at(dark, 6.5, 20), rgb(statusColor(state, Appearance::dark)));
        EXPECT_EQ(at(light, 6.5, 20), rgb(statusColor(state, Appearance::light)));
        EXPECT_NE(at(dark, 6.5, 20), at(light, 6.5, 20));
    }
}

TEST(LumivaneStatusIconRenderer, RingIsTheSmallCutSevenWide) {
    const QImage image = enlarged(LumivaneDisplayState::resting);
    EXPECT_EQ(at(image, 2.8, 20).alpha(), 0);
    EXPECT_EQ(at(image, 3.2, 20).alpha(), 255);
    EXPECT_EQ(at(image, 9.8, 20).alpha(), 255);
    EXPECT_EQ(at(image, 10.2, 20).alpha(), 0);
    EXPECT_EQ(at(image, 20, 3.2).alpha(), 255);
    EXPECT_EQ(at(image, 20, 36.8).alpha(), 255);
}

TEST(LumivaneStatusIconRenderer, TheGapIsAtTheLowerRight) {
    for (const LumivaneDisplayState state : allCases<LumivaneDisplayState>()) {
        const QImage image = enlarged(state);
        EXPECT_EQ(at(image, 32.5, 32.5).alpha(), 0);
        EXPECT_EQ(at(image, 7.5, 32.5).alpha(), 255);
        EXPECT_EQ(at(image, 32.5, 7.5).alpha(), 255);
        EXPECT_EQ(at(image, 7.5, 7.5).alpha(), 255);
        // Caps are round: they reach 3.5 past the ends of the line, in its middle only.
        EXPECT_EQ(at(image, 28.7, 33.5).alpha(), 255);
        EXPECT_EQ(at(image, 28.7, 36.7).alpha(), 0);
        EXPECT_EQ(at(image, 33.5, 28.7).alpha(), 255);
    }
}

TEST(LumivaneStatusIconRenderer, EachStateHasItsOwnPupil) {
    EXPECT_NEAR(pupilReach(enlarged(LumivaneDisplayState::resting)), 5.8, 0.15);
    EXPECT_NEAR(pupilReach(enlarged(LumivaneDisplayState::capturing)), 9, 0.15);
    EXPECT_EQ(restingPupilRadius, 5.8);
    EXPECT_EQ(capturingPupilRadius, 9);
}

TEST(LumivaneStatusIconRenderer, AGivenRadiusIsTaken) {
    EXPECT_NEAR(pupilReach(enlarged(LumivaneDisplayState::resting, 7.4)), 7.4, 0.15);
    EXPECT_NEAR(pupilReach(enlarged(LumivaneDisplayState::capturing, 7.4)), 7.4, 0.15);
}

TEST(LumivaneStatusIconRenderer, PausedIsADashAndNoPupilEvenWithARadius) {
    for (const std::optional<double> radius : {std::optional<double>(), std::optional(9.0)}) {
        const QImage image = enlarged(LumivaneDisplayState::paused, radius);
        for (const double x : {9.6, 12.5, 20.0, 27.5, 30.4}) {
            EXPECT_EQ(at(image, x, 20).alpha(), 255) << x;
        }
        EXPECT_EQ(at(image, 20, 16.7).alpha(), 255);
        EXPECT_EQ(at(image, 20, 23.3).alpha(), 255);
        // A pupil of radius 9 would reach from 11 to 29.
        EXPECT_EQ(at(image, 20, 16.2).alpha(), 0);
        EXPECT_EQ(at(image, 20, 23.8).alpha(), 0);
    }
    EXPECT_EQ(enlarged(LumivaneDisplayState::paused, 9), enlarged(LumivaneDisplayState::paused));
}

TEST(LumivaneStatusIconRenderer, OtherStatesHaveNoDash) {
    const QImage image = enlarged(LumivaneDisplayState::resting);
    EXPECT_EQ(at(image, 12.5, 20).alpha(), 0);
    EXPECT_EQ(at(image, 27.5, 20).alpha(), 0);
}

TEST(LumivaneStatusIconRenderer, HasThePixelsOfItsScreenAndTheSizeInPoints) {
    for (const double scale : {1.0, 1.5, 2.0}) {
        const QImage icon =
            image(LumivaneDisplayState::capturing, std::nullopt, Appearance::dark, scale);
        const int edge = int(16 * scale);
        EXPECT_EQ(icon.size(), QSize(edge, edge));
        EXPECT_EQ(icon.devicePixelRatio(), scale);
        EXPECT_EQ(icon.deviceIndependentSize(), pointSize);
        EXPECT_EQ(icon.pixelColor(edge / 2, edge / 2),
                  rgb(statusColor(LumivaneDisplayState::capturing, Appearance::dark)));
        EXPECT_EQ(icon.pixelColor(0, 0).alpha(), 0);
        EXPECT_EQ(icon.pixelColor(edge - 1, edge - 1).alpha(), 0);
        // The ring's left run covers grid units 3 to 10.
        EXPECT_GE(icon.pixelColor(int(6.5 / 40 * edge), edge / 2).alpha(), 200);
    }
}

TEST(LumivaneStatusIconRenderer, TheBitmapHasTheSamePixelsOneToAPoint) {
    QImage icon = image(LumivaneDisplayState::resting, 6.5, Appearance::light, 2);
    const QImage bitmap =
        bitmapRepresentation(LumivaneDisplayState::resting, 6.5, Appearance::light, 2);
    EXPECT_EQ(bitmap.devicePixelRatio(), 1);
    icon.setDevicePixelRatio(1);
    EXPECT_EQ(icon, bitmap);
}

TEST(LumivaneStatusIconRenderer, DrawsToTheSizeThatItIsGivenAndLeavesThePainterAsItWas) {
    QImage image(80, 40, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setPen(Qt::blue);
    draw(LumivaneDisplayState::resting, std::nullopt, Appearance::dark, QSizeF(80, 40), painter);
    EXPECT_EQ(painter.pen().color(), QColor(Qt::blue));
    EXPECT_TRUE(painter.transform().isIdentity());
    painter.end();
    EXPECT_EQ(image.pixelColor(13, 20).alpha(), 255);
    EXPECT_EQ(image.pixelColor(67, 15).alpha(), 255);
    EXPECT_EQ(image.pixelColor(40, 20).alpha(), 255);
}

} // namespace lumivane
