#include "overlays/qml/PanelSurface.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace lumivane {

PanelSurface::PanelSurface(QQuickItem* parent)
    : QQuickPaintedItem(parent) {
    setAntialiasing(true);
    connect(this, &PanelSurface::changed, this, [this] { update(); });
}

void PanelSurface::paint(QPainter* painter) {
    const QRectF whole =
        QRectF(0, 0, width(), height()).adjusted(m_margin, m_margin, -m_margin, -m_margin);
    QPainterPath outline;
    outline.addRoundedRect(whole, m_radius, m_radius);
    painter->fillPath(outline, m_fill);
    if (m_outline.alpha() == 0) {
        return;
    }
    const double scale = painter->combinedTransform().m11();
    const double line = std::max(1.0, std::round(m_lineWidth * scale)) / scale;
    const double radius = std::max(0.0, m_radius - line);
    QPainterPath hole;
    hole.addRoundedRect(whole.adjusted(line, line, -line, -line), radius, radius);
    painter->fillPath(outline.subtracted(hole), m_outline);
}

} // namespace lumivane
