#include "overlays/qml/SpokenValue.h"

#include "overlays/qml/SpokenValueInterface.h"

#include <utility>

namespace lumivane {

SpokenValue::SpokenValue(QQuickItem* parent)
    : QQuickItem(parent) {
    // Later ones change nothing: the toolkit keeps each factory once.
    QAccessible::installFactory(&SpokenValueInterface::make);
}

void SpokenValue::setLabel(const QString& label) {
    if (m_label != label) {
        m_label = label;
        Q_EMIT labelChanged();
    }
}

void SpokenValue::setValue(const QString& value) {
    if (m_value == value) {
        return;
    }
    const QString before = std::exchange(m_value, value);
    if (QAccessible::isActive() && window() != nullptr) {
        QAccessibleTextUpdateEvent update(this, 0, before, m_value);
        QAccessible::updateAccessibility(&update);
    }
    Q_EMIT valueChanged();
}

} // namespace lumivane
