#include "analysis/LumivaneMainMenu.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <set>

namespace lumivane {

namespace {

/// A line as a reader of a table would write it.
QString lineOf(const MainMenuItem& item) {
    if (item.isSeparator()) {
        return item.title + u"---"_qs;
    }
    const QString line = item.title + u" | "_qs + rawValue(*item.action) + u" | "_qs;
    if (!item.keyEquivalent) {
        return line + u"none"_qs;
    }
    const HotKey& key = *item.keyEquivalent;
    return line + (key.command ? u"cmd+"_qs : QString()) + (key.shift ? u"shift+"_qs : QString()) +
           key.key;
}

QStringList linesOf(const MainSubmenu& submenu) {
    QStringList lines;
    for (const MainMenuItem& item : submenu.items) {
        lines.append(lineOf(item));
    }
    return lines;
}

} // namespace

TEST(LumivaneMainMenu, ItHasTheOneSubmenuEdit) {
    const MainMenu menu = LumivaneMainMenu::make();
    ASSERT_EQ(menu.submenus.size(), 1U);
    EXPECT_EQ(menu.submenus[0].title, u"Edit"_qs);
}

TEST(LumivaneMainMenu, EveryItemHasItsTitleActionAndKeyInOrder) {
    EXPECT_EQ(linesOf(LumivaneMainMenu::make().submenus.at(0)),
              QStringList({u"Undo | undo: | cmd+z"_qs, u"Redo | redo: | cmd+shift+z"_qs, u"---"_qs,
                           u"Cut | cut: | cmd+x"_qs, u"Copy | copy: | cmd+c"_qs,
                           u"Paste | paste: | cmd+v"_qs, u"Delete | delete: | none"_qs, u"---"_qs,
                           u"Select All | selectAll: | cmd+a"_qs}));
}

TEST(LumivaneMainMenu, EveryKeyGoesWithCommandAndOnlyRedoWithShift) {
    const MainMenu menu = LumivaneMainMenu::make();
    for (const MainMenuItem& item : menu.submenus.at(0).items) {
        if (!item.keyEquivalent) {
            continue;
        }
        const HotKey& key = *item.keyEquivalent;
        EXPECT_TRUE(key.command) << item.title.toStdString();
        EXPECT_EQ(key.shift, item.action == MainMenuAction::redo) << item.title.toStdString();
        EXPECT_FALSE(key.option || key.control) << item.title.toStdString();
    }
}

TEST(LumivaneMainMenu, EveryActionStandsInItOnce) {
    std::multiset<MainMenuAction> actions;
    const MainMenu menu = LumivaneMainMenu::make();
    for (const MainMenuItem& item : menu.submenus.at(0).items) {
        if (item.action) {
            actions.insert(*item.action);
        }
    }
    for (const MainMenuAction action : allCases<MainMenuAction>()) {
        EXPECT_EQ(actions.count(action), 1U) << rawValue(action).data();
    }
}

TEST(LumivaneMainMenu, ItIsTheSameValueEachTime) {
    EXPECT_EQ(LumivaneMainMenu::make(), LumivaneMainMenu::make());
}

} // namespace lumivane
