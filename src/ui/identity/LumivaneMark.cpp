#include "ui/identity/LumivaneMark.h"

#include "ui/identity/LumivaneRing.h"
#include "ui/identity/PaintColor.h"

#include <QPainter>

#include <algorithm>

namespace lumivane {

namespace {

void drawMark(QPainter& painter, const QRectF& rect, const QColor& ring, const QColor& pupil) {
    const double unit = std::min(rect.width(), rect.height()) / LumivaneIdentityGeometry::gridSize;
    const double radius = LumivaneMonochromeMark::pupilDiameter / 2 * unit;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.strokePath(LumivaneRing{LumivaneMarkCut::standard}.path(rect),
                       QPen(ring, LumivaneMonochromeMark::lineWidth * unit, Qt::SolidLine,
                            Qt::RoundCap, Qt::RoundJoin));
    painter.setPen(Qt::NoPen);
    painter.setBrush(pupil);
    painter.drawEllipse(rect.center(), radius, radius);
    painter.restore();
}

} // namespace

void LumivaneMonochromeMark::draw(QPainter& painter, const QRectF& rect, const QColor& color) {
    drawMark(painter, rect, color, color);
}

void LumivaneMark::draw(QPainter& painter, const QRectF& rect, Appearance appearance) {
    drawMark(painter, rect, paintColor(LumivaneTheme::markStem.resolved(appearance)),
             paintColor(LumivaneTheme::markPupil.resolved(appearance)));
}

QImage LumivaneMark::image(int edge, Appearance appearance) {
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    draw(painter, QRectF(0, 0, edge, edge), appearance);
    return image;
}

} // namespace lumivane
