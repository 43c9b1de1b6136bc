#pragma once

#include "domain/ClosedSet.h"
#include "domain/HotKey.h"

#include <QString>

#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace lumivane {

/// What a menu item asks of the text field that has the keyboard. Raw texts name the field's own
/// operation.
enum class MainMenuAction { undo, redo, cut, copy, paste, removeSelection, selectAll };

namespace tables {

struct MainMenuActionRow {
    MainMenuAction value;
    std::string_view rawValue;
};

inline constexpr std::array mainMenuActions{
    MainMenuActionRow{MainMenuAction::undo, "undo:"},
    MainMenuActionRow{MainMenuAction::redo, "redo:"},
    MainMenuActionRow{MainMenuAction::cut, "cut:"},
    MainMenuActionRow{MainMenuAction::copy, "copy:"},
    MainMenuActionRow{MainMenuAction::paste, "paste:"},
    MainMenuActionRow{MainMenuAction::removeSelection, "delete:"},
    MainMenuActionRow{MainMenuAction::selectAll, "selectAll:"}};
static_assert(isInCaseOrder(mainMenuActions));

} // namespace tables

constexpr const auto& closedSetTable(MainMenuAction) { return tables::mainMenuActions; }

/// One line of a menu.
struct MainMenuItem {
    QString title;                        ///< empty for a separator
    std::optional<MainMenuAction> action; ///< none for a separator alone

    /// Command is the modifier that the desktop itself uses in menus, which is Control on some.
    std::optional<HotKey> keyEquivalent;

    bool isSeparator() const { return !action; }

    bool operator==(const MainMenuItem&) const = default;
};

struct MainSubmenu {
    QString title;
    std::vector<MainMenuItem> items;

    bool operator==(const MainSubmenu&) const = default;
};

struct MainMenu {
    std::vector<MainSubmenu> submenus;

    bool operator==(const MainMenu&) const = default;
};

/// The one menu of a program whose windows show no menu bar: it gives text fields their keys, and
/// the menu of their secondary click. Views turn it into both.
namespace LumivaneMainMenu {

MainMenu make();

} // namespace LumivaneMainMenu

} // namespace lumivane
