#include "ui/identity/qml/MonochromeMark.h"

#include "ui/identity/LumivaneIdentityGeometry.h"

#include <QPainter>

#include <algorithm>

namespace lumivane {

namespace {

// In units of the mark's grid.
constexpr double lineWidth = 5.5;
constexpr double pupilRadius = 5;

} // namespace

MonochromeMark::MonochromeMark(QQuickItem* parent)
    : QQuickPaintedItem(parent) {
    setAntialiasing(true);
}

void MonochromeMark::setColor(const QColor& color) {
    if (m_color != color) {
        m_color = color;
        Q_EMIT colorChanged();
        update();
    }
}

void MonochromeMark::paint(QPainter* painter) {
    using namespace LumivaneIdentityGeometry;
    const double scale = std::min(width(), height()) / gridSize;
    painter->translate(width() / 2, height() / 2);
    painter->scale(scale, scale);
    painter->translate(-gridSize / 2, -gridSize / 2);
    painter->strokePath(ringPath(LumivaneMarkCut::standard),
                        QPen(m_color, lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->setPen(Qt::NoPen);
    painter->setBrush(m_color);
    painter->drawEllipse(QPointF(gridSize / 2, gridSize / 2), pupilRadius, pupilRadius);
}

} // namespace lumivane
