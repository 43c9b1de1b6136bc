#pragma once

#include <QQuickItem>
#include <QtQml/qqml.h>

namespace lumivane {

/// An item that assistive technology reads as one element with a label and a text as its value;
/// the toolkit's own items have no such value. The view gives it a role.
class SpokenValue : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString label READ label WRITE setLabel NOTIFY labelChanged)
    Q_PROPERTY(QString value READ value WRITE setValue NOTIFY valueChanged)

public:
    explicit SpokenValue(QQuickItem* parent = nullptr);

    const QString& label() const { return m_label; }

    void setLabel(const QString& label);

    const QString& value() const { return m_value; }

    void setValue(const QString& value);

Q_SIGNALS:
    void labelChanged();
    void valueChanged();

private:
    QString m_label;
    QString m_value;
};

} // namespace lumivane
