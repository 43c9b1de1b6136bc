#include "overlays/qml/SpokenValueInterface.h"

#include <QQuickWindow>

namespace lumivane {

QAccessibleInterface* SpokenValueInterface::make(const QString&, QObject* object) {
    auto* item = qobject_cast<SpokenValue*>(object);
    return item != nullptr ? new SpokenValueInterface(item) : nullptr;
}

QAccessibleInterface* SpokenValueInterface::parent() const {
    return QAccessible::queryAccessibleInterface(item()->window());
}

QString SpokenValueInterface::text(QAccessible::Text kind) const {
    return kind == QAccessible::Name ? item()->label() : QString();
}

QAccessible::State SpokenValueInterface::state() const {
    QAccessible::State state;
    state.readOnly = true;
    state.invisible = !item()->isVisible();
    return state;
}

QRect SpokenValueInterface::rect() const {
    const QRectF scene = item()->mapRectToScene(item()->boundingRect());
    const QQuickWindow* window = item()->window();
    return window != nullptr ? scene.toAlignedRect().translated(window->position()) : QRect();
}

void* SpokenValueInterface::interface_cast(QAccessible::InterfaceType type) {
    return type == QAccessible::TextInterface ? static_cast<QAccessibleTextInterface*>(this)
                                              : nullptr;
}

void SpokenValueInterface::selection(int, int* start, int* end) const { *start = *end = 0; }

QString SpokenValueInterface::text(int start, int end) const {
    return item()->value().mid(start, end - start);
}

int SpokenValueInterface::characterCount() const {
    return static_cast<int>(item()->value().size());
}

QString SpokenValueInterface::attributes(int, int* start, int* end) const {
    *start = 0;
    *end = characterCount();
    return {};
}

} // namespace lumivane
