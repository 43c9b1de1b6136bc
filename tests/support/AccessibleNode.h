#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

namespace lumivane::test {

/// States by their place in the set that the accessibility bus hands out.
enum class AccessibleState {
    checked = 4,
    editable = 7,
    enabled = 8,
    focusable = 11,
    focused = 12,
    showing = 25,
    visible = 30,
    readOnly = 43,
};

/// One object as assistive technology sees it, with all below it.
struct AccessibleNode {
    QString role; ///< such as "push button", "panel", "label", "dialog", "text"
    QString name;
    QString description;
    std::optional<QString> text; ///< its own text, besides the name: how a value in words shows
    std::optional<double> value; ///< its value in numbers
    QStringList actions;
    std::uint64_t states = 0;
    std::vector<AccessibleNode> children;

    QString service; ///< where it is reached on the bus
    QString path;

    bool is(AccessibleState state) const { return (states >> static_cast<int>(state)) & 1; }

    /// The first of that role, and name if one is given, here or below; null where there is none.
    const AccessibleNode* find(const QString& wantedRole, const QString& wantedName = {}) const;

    /// Lines of role, name, description and text, indented, to print when a test fails.
    QString outline(int depth = 0) const;
};

} // namespace lumivane::test
