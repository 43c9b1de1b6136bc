#include "ui/identity/qml/MonochromeMark.h"

#include "ui/identity/LumivaneMark.h"

namespace lumivane {

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
    LumivaneMonochromeMark::draw(*painter, boundingRect(), m_color);
}

} // namespace lumivane
