#pragma once

#include "overlays/qml/SpokenValue.h"

#include <QAccessibleObject>

namespace lumivane {

/// What assistive technology sees of a SpokenValue: its value is the text of a pane.
class SpokenValueInterface final : public QAccessibleObject, public QAccessibleTextInterface {
public:
    /// Makes one for a SpokenValue and nothing for anything else; to be installed as a factory.
    static QAccessibleInterface* make(const QString& className, QObject* object);

    explicit SpokenValueInterface(SpokenValue* item)
        : QAccessibleObject(item) {}

    QAccessibleInterface* parent() const override;

    QAccessibleInterface* child(int) const override { return nullptr; }

    int childCount() const override { return 0; }

    int indexOfChild(const QAccessibleInterface*) const override { return -1; }

    QString text(QAccessible::Text kind) const override;

    QAccessible::Role role() const override { return QAccessible::Pane; }

    QAccessible::State state() const override;
    QRect rect() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    void selection(int index, int* start, int* end) const override;

    int selectionCount() const override { return 0; }

    void addSelection(int, int) override {}

    void removeSelection(int) override {}

    void setSelection(int, int, int) override {}

    int cursorPosition() const override { return 0; }

    void setCursorPosition(int) override {}

    QString text(int start, int end) const override;
    int characterCount() const override;

    QRect characterRect(int) const override { return {}; }

    int offsetAtPoint(const QPoint&) const override { return -1; }

    void scrollToSubstring(int, int) override {}

    QString attributes(int offset, int* start, int* end) const override;

private:
    SpokenValue* item() const { return static_cast<SpokenValue*>(object()); }
};

} // namespace lumivane
