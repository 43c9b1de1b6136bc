#include "platform/TrayFixture.h"

#include <algorithm>
#include <optional>

namespace lumivane::test {

using namespace std::chrono_literals;

/// On a real desktop's panel, which takes icons over the bus and shows their menus itself.
class TrayPanelTest : public TrayTest {
protected:
    /// Waits for the whole icon; a panel may paint it more than once before it lies still.
    QRect waitForIcon(QRgb color = restingColor) {
        std::optional<QRect> area;
        EXPECT_TRUE(waitUntil([&] {
            area = waitForColor(desktop, color);
            return area && area->width() >= 15 && area->width() == area->height();
        }));
        return area.value_or(QRect());
    }

    bool waitUntilGone(QRgb color = restingColor) {
        return waitUntil(
            [this, color] { return !areaOfColor(desktop.screen(QRect(0, 0, 700, 120)), color); });
    }

    /// Waits for a window that was not there `before`, such as a menu or a tooltip.
    QRect waitForWindow(const std::vector<xcb_window_t>& before) {
        QRect area;
        waitUntil([&] {
            for (const xcb_window_t window : desktop.windows()) {
                if (std::find(before.begin(), before.end(), window) == before.end()) {
                    area = desktop.areaOf(window);
                }
            }
            return area.width() > 30 && area.height() > 10;
        });
        return area;
    }
};

TEST_F(TrayPanelTest, IconIsShownAndFollowsItsPicture) {
    const DesktopPanel panel(desktop);
    makeItem();
    const QRect icon = waitForIcon();
    EXPECT_LT(icon.bottom(), DesktopPanel::height);
    // Over the bus, which says nothing of places.
    EXPECT_TRUE(item->geometry().isEmpty());
    item->setImages(iconOf(LumivaneDisplayState::capturing));
    waitForIcon(capturingColor);
    EXPECT_TRUE(waitUntilGone());
}

TEST_F(TrayPanelTest, APrimaryClickIsHeard) {
    const DesktopPanel panel(desktop);
    makeItem();
    desktop.click(waitForIcon().center());
    ASSERT_TRUE(waitUntil([this] { return !clicks.empty(); }));
    EXPECT_EQ(clicks, std::vector{ClickModifier::none});
}

TEST_F(TrayPanelTest, AControlClickIsToldApart) {
    const DesktopPanel panel(desktop);
    makeItem();
    desktop.movePointer(waitForIcon().center());
    desktop.holdKey(XK_Control_L);
    desktop.press(1);
    desktop.release(1);
    const bool isHeard = waitUntil([this] { return !clicks.empty(); });
    desktop.releaseKey(XK_Control_L);
    ASSERT_TRUE(isHeard);
    EXPECT_EQ(clicks, std::vector{ClickModifier::control});
}

TEST_F(TrayPanelTest, ASecondaryClickShowsTheMenuAndItsLinesWork) {
    const DesktopPanel panel(desktop);
    makeItem();
    const QPoint icon = waitForIcon().center();
    desktop.movePointer(icon);
    const auto before = desktop.windows();
    // Until it has read the icon's menu, the panel shows its own.
    ASSERT_TRUE(waitUntil([&] {
        desktop.type(XK_Escape);
        desktop.press(3);
        desktop.release(3);
        return waitUntil([this] { return openings > 0; }, 500ms);
    }));
    const QRect menu = waitForWindow(before);
    EXPECT_GE(menu.top(), DesktopPanel::height - 4);
    EXPECT_LT(menu.left(), 60);
    // Down to the first line, and choose it.
    ASSERT_TRUE(waitUntil([&] {
        desktop.type(XK_Down);
        desktop.type(XK_Return);
        return !chosen.isEmpty();
    }));
    EXPECT_EQ(chosen, QStringList{u"Pause"_qs});
    EXPECT_TRUE(clicks.empty());
}

TEST_F(TrayPanelTest, TheTooltipShows) {
    const DesktopPanel panel(desktop);
    makeItem();
    const QPoint icon = waitForIcon().center();
    const auto before = desktop.windows();
    desktop.movePointer(icon);
    desktop.movePointer(icon + QPoint(1, 0));
    const QRect toolTip = waitForWindow(before);
    EXPECT_GT(toolTip.width(), 80);
    EXPECT_LT(toolTip.height(), 60);
}

TEST_F(TrayPanelTest, APanelThatComesLaterGetsTheIcon) {
    makeItem();
    drainEvents();
    const DesktopPanel panel(desktop);
    waitForIcon();
}

TEST_F(TrayPanelTest, APanelThatRestartsGetsTheIconBack) {
    auto panel = std::make_unique<DesktopPanel>(desktop);
    makeItem();
    waitForIcon();
    panel.reset();
    ASSERT_TRUE(waitUntilGone());
    panel = std::make_unique<DesktopPanel>(desktop);
    desktop.click(waitForIcon().center());
    EXPECT_TRUE(waitUntil([this] { return clicks.size() == 1; }));
}

TEST_F(TrayPanelTest, IconThatIsLetGoLeavesThePanel) {
    const DesktopPanel panel(desktop);
    makeItem();
    waitForIcon();
    item.reset();
    EXPECT_TRUE(waitUntilGone());
    makeItem();
    waitForIcon();
}

TEST_F(TrayPanelTest, APanelThatHangsHoldsNothingUp) {
    const DesktopPanel panel(desktop);
    makeItem();
    waitForIcon();
    item.reset();
    ASSERT_TRUE(waitUntilGone());
    {
        const HeldProcess held(panel.processID());
        const Stopwatch watch;
        makeItem();
        item->refreshMenu();
        drainEvents();
        EXPECT_TRUE(watch.isBelow(100ms));
    }
    waitForIcon();
}

} // namespace lumivane::test
