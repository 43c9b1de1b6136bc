#pragma once

#include <QColor>
#include <QObject>
#include <QStringList>

#include <functional>

namespace lumivane::test {

/// The model of tests/data/panels/Panel.qml: what a panel looks like and what happened to it.
class PanelModel final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QColor surface MEMBER surface NOTIFY changed)
    Q_PROPERTY(double cornerRadius MEMBER cornerRadius CONSTANT)

public:
    Q_INVOKABLE void note(const QString& event) {
        events.append(event);
        if (onEvent) {
            onEvent(event);
        }
    }

    void setSurface(const QColor& color) {
        surface = color;
        Q_EMIT changed();
    }

    QColor surface = Qt::red;
    double cornerRadius = 0;
    QStringList events;
    std::function<void(const QString&)> onEvent;

Q_SIGNALS:
    void changed();
};

} // namespace lumivane::test
