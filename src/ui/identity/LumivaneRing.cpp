#include "ui/identity/LumivaneRing.h"

#include <QTransform>

#include <algorithm>

namespace lumivane {

QPainterPath LumivaneRing::path(const QRectF& rect) const {
    constexpr double grid = LumivaneIdentityGeometry::gridSize;
    const double scale = std::min(rect.width(), rect.height()) / grid;
    const QPointF center = rect.center();
    QTransform transform;
    transform.translate(center.x(), center.y());
    transform.scale(scale, scale);
    transform.translate(-grid / 2, -grid / 2);
    return transform.map(LumivaneIdentityGeometry::ringPath(cut));
}

} // namespace lumivane
