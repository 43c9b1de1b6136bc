#include "ui/identity/LumivaneIdentityGeometry.h"

#include <QLineF>

#include <array>
#include <cmath>
#include <numbers>

namespace lumivane {

namespace {

struct Corner {
    QPointF lineEnd;
    QPointF firstTangentEnd;
    QPointF secondTangentEnd;
};

struct Ring {
    QPointF begin;
    double radius;
    std::array<Corner, 3> corners;
    QPointF end;
};

const Ring standardRing{
    {28, 35},
    7,
    {{{{12, 35}, {5, 35}, {5, 28}}, {{5, 12}, {5, 5}, {12, 5}}, {{28, 5}, {35, 5}, {35, 12}}}},
    {35, 28}};

const Ring smallRing{{25.5, 33.5},
                     3.5,
                     {{{{10, 33.5}, {6.5, 33.5}, {6.5, 30}},
                       {{6.5, 10}, {6.5, 6.5}, {10, 6.5}},
                       {{30, 6.5}, {33.5, 6.5}, {33.5, 10}}}},
                     {33.5, 25.5}};

/// Rounds the corner at `firstEnd` between the line from the current position and the one on to
/// `secondEnd`, by a true circular arc that touches both.
void addTangentArc(QPainterPath& path, QPointF firstEnd, QPointF secondEnd, double radius) {
    const QLineF back(firstEnd, path.currentPosition());
    const QLineF onward(firstEnd, secondEnd);
    const double turn = std::remainder(onward.angle() - back.angle(), 360);
    const double halfTurn = std::abs(turn) / 2 * std::numbers::pi / 180;
    QLineF toCentre = back;
    toCentre.setAngle(back.angle() + turn / 2);
    toCentre.setLength(radius / std::sin(halfTurn));

    const QRectF circle(toCentre.p2() - QPointF(radius, radius), QSizeF(2 * radius, 2 * radius));
    // Seen from the centre, the touching points lie square to their lines.
    const double side = turn > 0 ? -90 : 90;
    const double startAngle = back.angle() + side;
    path.arcTo(circle, startAngle, std::remainder(onward.angle() - side - startAngle, 360));
}

} // namespace

QPainterPath LumivaneIdentityGeometry::ringPath(LumivaneMarkCut cut) {
    const Ring& ring = cut == LumivaneMarkCut::standard ? standardRing : smallRing;
    QPainterPath path(ring.begin);
    for (const Corner& corner : ring.corners) {
        path.lineTo(corner.lineEnd);
        addTangentArc(path, corner.firstTangentEnd, corner.secondTangentEnd, ring.radius);
    }
    path.lineTo(ring.end);
    return path;
}

} // namespace lumivane
