#include "ui/identity/LumivaneIdentityGeometry.h"

#include "ui/identity/LumivaneRing.h"

#include <QPen>
#include <QTransform>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace lumivane {

namespace {

constexpr double tolerance = 1e-9;

struct CutCase {
    LumivaneMarkCut cut;
    double radius;
    /// Where lines begin and end: the path's corners in order.
    std::vector<QPointF> stops;
    std::vector<QPointF> circleCenters;
};

const std::vector<CutCase> cuts{
    {LumivaneMarkCut::standard,
     7,
     {{28, 35}, {12, 35}, {5, 28}, {5, 12}, {12, 5}, {28, 5}, {35, 12}, {35, 28}},
     {{12, 28}, {12, 12}, {28, 12}}},
    {LumivaneMarkCut::small,
     3.5,
     {{25.5, 33.5},
      {10, 33.5},
      {6.5, 30},
      {6.5, 10},
      {10, 6.5},
      {30, 6.5},
      {33.5, 10},
      {33.5, 25.5}},
     {{10, 30}, {10, 10}, {30, 10}}},
};

void expectPoint(QPointF actual, QPointF expected) {
    EXPECT_NEAR(actual.x(), expected.x(), tolerance);
    EXPECT_NEAR(actual.y(), expected.y(), tolerance);
}

double distance(QPointF one, QPointF other) {
    return std::hypot(one.x() - other.x(), one.y() - other.y());
}

/// A point of the cubic whose controls are elements `first` to `first` + 2, at parameter `t`.
QPointF cubicPoint(const QPainterPath& path, int first, double t) {
    const auto at = [&](int offset) { return QPointF(path.elementAt(first - 1 + offset)); };
    const double s = 1 - t;
    return s * s * s * at(0) + 3 * s * s * t * at(1) + 3 * s * t * t * at(2) + t * t * t * at(3);
}

} // namespace

TEST(LumivaneIdentityGeometry, EachCutIsStraightRunsAndThreeRoundedCorners) {
    for (const CutCase& test : cuts) {
        const QPainterPath path = LumivaneIdentityGeometry::ringPath(test.cut);
        // Move, then three times a line and a cubic of three elements, then the last line.
        ASSERT_EQ(path.elementCount(), 14);
        EXPECT_EQ(path.elementAt(0).type, QPainterPath::MoveToElement);
        expectPoint(path.elementAt(0), test.stops[0]);
        for (int corner = 0; corner < 3; ++corner) {
            const int line = 1 + corner * 4;
            EXPECT_EQ(path.elementAt(line).type, QPainterPath::LineToElement);
            expectPoint(path.elementAt(line), test.stops[std::size_t(1 + 2 * corner)]);
            EXPECT_EQ(path.elementAt(line + 1).type, QPainterPath::CurveToElement);
            expectPoint(path.elementAt(line + 3), test.stops[std::size_t(2 + 2 * corner)]);
        }
        EXPECT_EQ(path.elementAt(13).type, QPainterPath::LineToElement);
        expectPoint(path.elementAt(13), test.stops.back());
    }
}

TEST(LumivaneIdentityGeometry, CornersAreCircular) {
    for (const CutCase& test : cuts) {
        const QPainterPath path = LumivaneIdentityGeometry::ringPath(test.cut);
        for (int corner = 0; corner < 3; ++corner) {
            for (const double t : {0.0, 0.25, 0.5, 0.75, 1.0}) {
                const QPointF point = cubicPoint(path, 2 + corner * 4, t);
                EXPECT_NEAR(distance(point, test.circleCenters[std::size_t(corner)]), test.radius,
                            test.radius * 3e-4);
            }
        }
    }
}

TEST(LumivaneIdentityGeometry, CornersBulgeOutward) {
    for (const CutCase& test : cuts) {
        const QPainterPath path = LumivaneIdentityGeometry::ringPath(test.cut);
        const double reach = test.radius * std::sqrt(0.5);
        const QPointF topLeft = cubicPoint(path, 6, 0.5) - test.circleCenters[1];
        EXPECT_NEAR(topLeft.x(), -reach, 0.01);
        EXPECT_NEAR(topLeft.y(), -reach, 0.01);
    }
}

TEST(LumivaneIdentityGeometry, OnlyTheLowerRightCornerIsOpen) {
    for (const CutCase& test : cuts) {
        const QPainterPath path = LumivaneIdentityGeometry::ringPath(test.cut);
        EXPECT_NE(path.elementAt(0), path.elementAt(path.elementCount() - 1));
        QPainterPathStroker stroker{QPen(Qt::black, 1)};
        const QPainterPath line = stroker.createStroke(path);
        for (const QPointF& stop : test.stops) {
            EXPECT_TRUE(line.contains(stop + (QPointF(20, 20) - stop) * 0.005)) << stop.x();
        }
        const double right = test.stops.back().x();
        EXPECT_FALSE(line.intersects(QRectF(right - 5, right - 5, 10, 10)));
        EXPECT_TRUE(line.intersects(QRectF(40 - right - 5, right - 5, 10, 10)));
        EXPECT_TRUE(line.intersects(QRectF(right - 5, 40 - right - 5, 10, 10)));
        EXPECT_TRUE(line.intersects(QRectF(40 - right - 5, 40 - right - 5, 10, 10)));
    }
}

TEST(LumivaneIdentityGeometry, IsTheSameOnBothSidesOfTheDiagonalThroughTheGap) {
    const QTransform swapped(0, 1, 1, 0, 0, 0);
    for (const CutCase& test : cuts) {
        const QPainterPath path = LumivaneIdentityGeometry::ringPath(test.cut);
        const QPainterPath mirrored = swapped.map(path).toReversed();
        ASSERT_EQ(mirrored.elementCount(), path.elementCount());
        for (int index = 0; index < path.elementCount(); ++index) {
            expectPoint(mirrored.elementAt(index), path.elementAt(index));
        }
    }
}

TEST(LumivaneRing, FillsASquareOfItsGridAsItStands) {
    for (const CutCase& test : cuts) {
        const QPainterPath grid = LumivaneIdentityGeometry::ringPath(test.cut);
        const QPainterPath path = LumivaneRing{test.cut}.path(QRectF(0, 0, 40, 40));
        ASSERT_EQ(path.elementCount(), grid.elementCount());
        for (int index = 0; index < path.elementCount(); ++index) {
            expectPoint(path.elementAt(index), grid.elementAt(index));
        }
    }
}

TEST(LumivaneRing, FitsTheSmallerSideAndIsCentred) {
    const QRectF wide =
        LumivaneRing{LumivaneMarkCut::standard}.path(QRectF(100, 50, 200, 80)).boundingRect();
    expectPoint(wide.topLeft(), {170, 60});
    expectPoint(wide.bottomRight(), {230, 120});
    const QRectF high =
        LumivaneRing{LumivaneMarkCut::small}.path(QRectF(-10, -10, 20, 60)).boundingRect();
    expectPoint(high.topLeft(), {-6.75, 13.25});
    expectPoint(high.bottomRight(), {6.75, 26.75});
}

TEST(LumivaneRing, IsTheStandardCutUnlessToldOtherwise) {
    EXPECT_EQ(LumivaneRing{}.cut, LumivaneMarkCut::standard);
}

} // namespace lumivane
