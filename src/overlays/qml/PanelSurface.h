#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace lumivane {

/// The rounded background of a panel and the line around it. The line lies inside the outline and
/// is a whole number of pixels wide at every scale of the screen, so that it is sharp.
class PanelSurface : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QColor fill MEMBER m_fill NOTIFY changed)
    Q_PROPERTY(QColor outline MEMBER m_outline NOTIFY changed)
    Q_PROPERTY(double radius MEMBER m_radius NOTIFY changed)
    Q_PROPERTY(double lineWidth MEMBER m_lineWidth NOTIFY changed)
    /// Points left free on each side, for what may lie between two pixels and so lose part of one.
    Q_PROPERTY(double margin MEMBER m_margin NOTIFY changed)

public:
    explicit PanelSurface(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;

Q_SIGNALS:
    void changed();

private:
    QColor m_fill{Qt::transparent};
    QColor m_outline{Qt::transparent};
    double m_radius = 0;
    double m_lineWidth = 1;
    double m_margin = 0;
};

} // namespace lumivane
