#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace lumivane {

/// The mark in one colour, as large as the item's smaller side allows and centred in it.
class MonochromeMark : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)

public:
    explicit MonochromeMark(QQuickItem* parent = nullptr);

    const QColor& color() const { return m_color; }

    void setColor(const QColor& color);

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void colorChanged();

private:
    QColor m_color{Qt::white};
};

} // namespace lumivane
