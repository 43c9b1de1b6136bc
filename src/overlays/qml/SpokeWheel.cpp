#include "overlays/qml/SpokeWheel.h"

#include <QPainter>

#include <algorithm>

namespace lumivane {

namespace {

constexpr int spokeCount = 12;
constexpr double faintest = 0.15;
// Of the wheel's radius.
constexpr double innerEnd = 0.5;
constexpr double outerEnd = 0.9;
constexpr double spokeWidth = 0.2;

} // namespace

SpokeWheel::SpokeWheel(QQuickItem* parent)
    : QQuickPaintedItem(parent) {
    setAntialiasing(true);
    connect(this, &SpokeWheel::changed, this, [this] { update(); });
}

int SpokeWheel::spokes() const { return spokeCount; }

void SpokeWheel::paint(QPainter* painter) {
    const double radius = std::min(width(), height()) / 2;
    painter->translate(width() / 2, height() / 2);
    for (int spoke = 0; spoke < spokeCount; ++spoke) {
        const int behind = ((m_step - spoke) % spokeCount + spokeCount) % spokeCount;
        QColor color = m_color;
        color.setAlphaF(m_color.alphaF() *
                        std::max(float(faintest), 1 - float(behind) / spokeCount));
        painter->setPen(QPen(color, spokeWidth * radius, Qt::SolidLine, Qt::RoundCap));
        painter->drawLine(QPointF(0, -innerEnd * radius), QPointF(0, -outerEnd * radius));
        painter->rotate(360.0 / spokeCount);
    }
}

} // namespace lumivane
