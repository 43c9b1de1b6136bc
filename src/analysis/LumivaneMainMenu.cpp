#include "analysis/LumivaneMainMenu.h"

namespace lumivane {

namespace {

/// Every key of a menu goes with Command.
HotKey commandWith(const QString& key) { return {.command = true, .key = key}; }

HotKey commandAndShiftWith(const QString& key) {
    return {.command = true, .shift = true, .key = key};
}

const MainMenuItem separator;

} // namespace

MainMenu LumivaneMainMenu::make() {
    using enum MainMenuAction;
    const MainSubmenu edit{u"Edit"_qs,
                           {{u"Undo"_qs, undo, commandWith(u"z"_qs)},
                            {u"Redo"_qs, redo, commandAndShiftWith(u"z"_qs)},
                            separator,
                            {u"Cut"_qs, cut, commandWith(u"x"_qs)},
                            {u"Copy"_qs, copy, commandWith(u"c"_qs)},
                            {u"Paste"_qs, paste, commandWith(u"v"_qs)},
                            {u"Delete"_qs, removeSelection, std::nullopt},
                            separator,
                            {u"Select All"_qs, selectAll, commandWith(u"a"_qs)}}};
    return {{edit}};
}

} // namespace lumivane
