#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace lumivane {

/// One of the system's symbols in one colour, as large as the item's smaller side allows and
/// centred in it. Nothing is drawn for a name that is none.
class Symbol : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)

public:
    explicit Symbol(QQuickItem* parent = nullptr);

    const QString& name() const { return m_name; }

    void setName(const QString& name);

    const QColor& color() const { return m_color; }

    void setColor(const QColor& color);

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void nameChanged();
    void colorChanged();

private:
    QString m_name;
    QColor m_color{Qt::white};
};

} // namespace lumivane
