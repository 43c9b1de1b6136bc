#include "platform/TrayFixture.h"

#include <QAccessible>
#include <QElapsedTimer>
#include <QPainter>
#include <QScopeGuard>
#include <QWidget>

namespace lumivane::test {

using Ground = EmbeddingTray::Ground;

/// On trays that embed windows; there is no watcher on the bus.
class TrayEmbeddedTest : public TrayTest {
protected:
    QRect waitForIcon(QRgb color = restingColor) {
        const auto area = waitForColor(desktop, color);
        EXPECT_TRUE(area.has_value());
        return area.value_or(QRect());
    }

    bool waitUntilGone() {
        return waitUntil([this] { return !areaOfColor(desktop.screen(screenTop), restingColor); });
    }

    /// The icon's own pixels over the ground of its tray.
    static QImage over(const QImage& icon, QRgb ground) {
        QImage image(icon.size(), QImage::Format_RGB32);
        image.fill(ground);
        QPainter(&image).drawImage(0, 0, icon);
        return image;
    }

    static constexpr QRect screenTop{0, 0, 200, 60};
};

TEST_F(TrayEmbeddedTest, IconIsShownPixelForPixel) {
    // The tray gives its own height, and the width that the toolkit asks for.
    for (const auto& [trayHeight, edge] : {std::pair(18, 16), {24, 22}, {34, 22}}) {
        const EmbeddingTray tray(desktop, trayHeight);
        makeItem();
        waitForIcon();
        const QRgb ground = desktop.pixel(QPoint(0, 0));
        QRect place(0, 0, edge, edge);
        place.moveCenter(item->geometry().center());
        const QImage shown = desktop.screen(place).convertToFormat(QImage::Format_RGB32);
        EXPECT_EQ(shown, over(iconOf(LumivaneDisplayState::resting)[edge == 16 ? 0 : 1], ground))
            << trayHeight;
        item.reset();
        drainEvents();
    }
}

TEST_F(TrayEmbeddedTest, WhatIsBehindATransparentTrayShowsThroughTheIcon) {
    desktop.client().setWallpaper(3, QSize(1280, 800));
    const auto takeDown = qScopeGuard([this] {
        desktop.server().run(u"xsetroot"_qs, {u"-solid"_qs, u"black"_qs});
    });
    const EmbeddingTray tray(desktop, 24, Ground::transparent);
    const QImage behind = desktop.screen(QRect(0, 0, 30, 24));
    makeItem();
    ASSERT_TRUE(waitUntil([&] {
        const QRect place = item->geometry();
        return place.width() == 22 &&
               desktop.pixel(place.topLeft() + QPoint(2, 11)) == restingColor;
    }));
    const QPoint hole = item->geometry().topLeft() + QPoint(6, 6);
    // The tray mixes a trace of its tint in.
    EXPECT_TRUE(areaOfColor(desktop.screen(QRect(hole, QSize(1, 1))), behind.pixel(hole)));
    EXPECT_FALSE(areaOfColor(desktop.screen(QRect(hole, QSize(1, 1))), restingColor));
}

TEST_F(TrayEmbeddedTest, GeometryIsWhereTheIconStands) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    const QRect pixels = waitForIcon();
    EXPECT_TRUE(item->geometry().contains(pixels));
}

TEST_F(TrayEmbeddedTest, ANewPictureReplacesTheOld) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    waitForIcon();
    item->setImages(iconOf(LumivaneDisplayState::capturing));
    EXPECT_TRUE(item->geometry().contains(waitForIcon(capturingColor)));
    EXPECT_TRUE(waitUntilGone());
}

TEST_F(TrayEmbeddedTest, APrimaryClickIsHeardOnce) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    waitForIcon();
    desktop.click(item->geometry().center());
    ASSERT_TRUE(waitUntil([this] { return !clicks.empty(); }));
    EXPECT_EQ(clicks, std::vector{ClickModifier::none});
    EXPECT_EQ(openings, 0);
}

TEST_F(TrayEmbeddedTest, TwoQuickClicksAreTwoClicks) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    waitForIcon();
    desktop.click(item->geometry().center());
    desktop.click(item->geometry().center());
    EXPECT_TRUE(waitUntil([this] { return clicks.size() == 2; }));
}

TEST_F(TrayEmbeddedTest, AControlClickIsToldApart) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    waitForIcon();
    desktop.movePointer(item->geometry().center());
    desktop.holdKey(XK_Control_L);
    desktop.press(1);
    desktop.release(1);
    desktop.releaseKey(XK_Control_L);
    ASSERT_TRUE(waitUntil([this] { return !clicks.empty(); }));
    EXPECT_EQ(clicks, std::vector{ClickModifier::control});
}

TEST_F(TrayEmbeddedTest, ASecondaryClickShowsTheMenuUnderTheIcon) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    waitForIcon();
    pauseTitle = u"Resume & go"_qs; // nobody tells of it
    desktop.movePointer(item->geometry().center());
    desktop.press(3);
    desktop.release(3);
    QMenu* menu = shownMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(titles(*menu), (QStringList{u"Resume && go"_qs, u"-"_qs, u"Copy"_qs}));
    EXPECT_FALSE(menu->actions().at(2)->isEnabled());
    EXPECT_EQ(menu->y(), item->geometry().bottom() + 1);
    EXPECT_TRUE(clicks.empty());
    EXPECT_EQ(openings, 1);
    const QPoint line = menu->mapToGlobal(menu->actionGeometry(menu->actions().at(0)).center());
    desktop.click(line);
    EXPECT_TRUE(waitUntil([this] { return chosen == QStringList{pauseTitle}; }));
}

TEST_F(TrayEmbeddedTest, AClickBesideTheMenuClosesIt) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    waitForIcon();
    item->showMenu();
    QMenu* menu = shownMenu();
    ASSERT_NE(menu, nullptr);
    ASSERT_TRUE(waitUntil([&] { return menu->isVisible() && menu->windowHandle()->isExposed(); }));
    desktop.click({900, 600});
    EXPECT_TRUE(waitUntil([] { return QApplication::activePopupWidget() == nullptr; }));
    EXPECT_TRUE(chosen.isEmpty());
}

TEST_F(TrayEmbeddedTest, ATrayThatComesLaterGetsTheIcon) {
    makeItem();
    item->setImages(iconOf(LumivaneDisplayState::capturing));
    item->setImages(iconOf(LumivaneDisplayState::resting));
    EXPECT_FALSE(areaOfColor(desktop.screen(screenTop), restingColor));
    const EmbeddingTray tray(desktop, 24);
    waitForIcon();
    desktop.click(item->geometry().center());
    EXPECT_TRUE(waitUntil([this] { return clicks.size() == 1; }));
}

TEST_F(TrayEmbeddedTest, ATrayThatRestartsGetsTheIconBack) {
    auto tray = std::make_unique<EmbeddingTray>(desktop, 24);
    makeItem();
    waitForIcon();
    for (int round = 0; round < 3; ++round) {
        tray.reset();
        ASSERT_TRUE(waitUntilGone());
        item->setImages(iconOf(LumivaneDisplayState::resting));
        tray = std::make_unique<EmbeddingTray>(desktop, 24);
        waitForIcon();
    }
    desktop.click(item->geometry().center());
    EXPECT_TRUE(waitUntil([this] { return clicks.size() == 1; }));
}

TEST_F(TrayEmbeddedTest, IconThatIsLetGoLeavesTheTray) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    waitForIcon();
    item.reset();
    EXPECT_TRUE(waitUntilGone());
    makeItem();
    waitForIcon();
}

TEST_F(TrayEmbeddedTest, AClickMayLetTheIconGo) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    waitForIcon();
    item->onPrimaryClick = [this](ClickModifier) { item.reset(); };
    desktop.click(item->geometry().center());
    EXPECT_TRUE(waitUntil([this] { return !item; }));
    EXPECT_TRUE(waitUntilGone());
}

TEST_F(TrayEmbeddedTest, AMenuLineMayLetTheIconGo) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    waitForIcon();
    item->setMenu([this] {
        return std::vector<StatusMenuItem>{{u"Quit"_qs, true, [this] { item.reset(); }}};
    });
    item->showMenu();
    QMenu* menu = shownMenu();
    ASSERT_NE(menu, nullptr);
    menu->actions().at(0)->trigger();
    EXPECT_FALSE(item);
    EXPECT_TRUE(waitUntilGone());
}

TEST_F(TrayEmbeddedTest, AssistiveTechnologyFindsNameAndValue) {
    const EmbeddingTray tray(desktop, 24);
    makeItem();
    waitForIcon();
    item->setAccessibility(u"Lumivane"_qs, u"Paused"_qs);
    int found = 0;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* interface = QAccessible::queryAccessibleInterface(window);
        if (interface != nullptr && interface->text(QAccessible::Name) == u"Lumivane"_qs) {
            EXPECT_EQ(interface->text(QAccessible::Description), u"Paused"_qs);
            ++found;
        }
    }
    EXPECT_EQ(found, 1);
}

TEST_F(TrayEmbeddedTest, WithoutATrayThePointerIsThePlace) {
    makeItem();
    drainEvents();
    desktop.movePointer({321, 234});
    EXPECT_TRUE(waitUntil([this] { return item->geometry() == QRect(321, 234, 0, 0); }));
}

TEST_F(TrayEmbeddedTest, MenuAtTheFootOfTheScreenOpensUpwards) {
    makeItem();
    desktop.movePointer({300, 795});
    waitUntil([this] { return item->geometry().y() == 795; });
    item->showMenu();
    QMenu* menu = shownMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->geometry().bottom(), 794);
    EXPECT_EQ(menu->x(), 300);
}

TEST_F(TrayEmbeddedTest, WithoutABusTheIconIsEmbedded) {
    const EmbeddingTray tray(desktop, 24);
    TrayStatusBar alone{QDBusConnection(u"no such connection"_qs)};
    item = alone.statusItem();
    item->setImages(iconOf(LumivaneDisplayState::resting));
    EXPECT_TRUE(item->geometry().contains(waitForIcon()));
}

} // namespace lumivane::test
