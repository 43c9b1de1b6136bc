#include "ui/identity/qml/Symbol.h"

#include "ui/identity/LumivaneSymbols.h"

#include <QPainter>

#include <algorithm>

namespace lumivane {

namespace {

/// Points left free on each side: an item that lies between two pixels loses part of one.
constexpr double margin = 0.5;

} // namespace

Symbol::Symbol(QQuickItem* parent)
    : QQuickPaintedItem(parent) {
    setAntialiasing(true);
}

void Symbol::setName(const QString& name) {
    if (m_name != name) {
        m_name = name;
        Q_EMIT nameChanged();
        update();
    }
}

void Symbol::setColor(const QColor& color) {
    if (m_color != color) {
        m_color = color;
        Q_EMIT colorChanged();
        update();
    }
}

void Symbol::paint(QPainter* painter) {
    const double scale =
        std::max(0.0, std::min(width(), height()) - 2 * margin) / LumivaneSymbols::gridSize;
    painter->translate(width() / 2, height() / 2);
    painter->scale(scale, scale);
    painter->translate(-LumivaneSymbols::gridSize / 2, -LumivaneSymbols::gridSize / 2);
    painter->fillPath(LumivaneSymbols::path(m_name), m_color);
}

} // namespace lumivane
