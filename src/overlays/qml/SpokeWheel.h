#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace lumivane {

/// Spokes around a centre, of which the one that leads is bright and those behind it fade.
class SpokeWheel : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor color MEMBER m_color NOTIFY changed)
    Q_PROPERTY(int step MEMBER m_step NOTIFY changed)
    Q_PROPERTY(int spokes READ spokes CONSTANT)

public:
    explicit SpokeWheel(QQuickItem* parent = nullptr);

    int spokes() const;

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void changed();

private:
    QColor m_color{Qt::white};
    int m_step = 0;
};

} // namespace lumivane
