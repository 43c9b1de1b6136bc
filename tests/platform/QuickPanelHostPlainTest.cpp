#include "async/SystemClock.h"
#include "platform/PanelModel.h"
#include "platform/linux/QuickPanelHost.h"
#include "support/EventLoop.h"
#include "support/FakeDisplayServer.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

#include <gtest/gtest.h>

namespace lumivane::test {

/// On a platform of the toolkit that is no X server.
class QuickPanelHostPlainTest : public testing::Test {
protected:
    static QUrl view() {
        return QUrl::fromLocalFile(QStringLiteral(LUMIVANE_TEST_DATA "/panels/Panel.qml"));
    }

    static QQuickWindow* onlyWindow() {
        const auto windows = QGuiApplication::allWindows();
        return windows.size() == 1 ? qobject_cast<QQuickWindow*>(windows.first()) : nullptr;
    }

    PanelRequest request() const {
        PanelRequest made;
        made.displayID = FakeDisplayServer::firstDisplayID;
        made.frame = {40, 900 - 60 - 112, 400, 112};
        return made;
    }

    std::unique_ptr<Panel> open() { return host.open(request(), {view(), model}); }

    FakeDisplayServer displays;
    SystemClock clock;
    QQmlEngine engine;
    CompositorWatch compositor{":no-such-display"};
    QuickPanelHost host{displays, clock, engine, compositor};
    std::shared_ptr<PanelModel> model = std::make_shared<PanelModel>();
};

TEST_F(QuickPanelHostPlainTest, APanelIsAWindowOfItsPlaceAndSize) {
    const auto panel = open();
    auto* window = onlyWindow();
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->geometry(), QRect(40, 60, 400, 112));
    EXPECT_EQ(window->minimumSize(), QSize(400, 112));
    EXPECT_EQ(window->maximumSize(), QSize(400, 112));
    const auto views = window->contentItem()->childItems();
    ASSERT_EQ(views.size(), 1);
    EXPECT_EQ(views.first()->size(), QSizeF(400, 112));
    EXPECT_EQ(views.first()->property("model").value<QObject*>(), model.get());
}

TEST_F(QuickPanelHostPlainTest, AFrameBetweenPointsIsRounded) {
    auto between = request();
    between.frame = {40.4, 900 - 60 - 112.6, 400.4, 112.6};
    const auto panel = host.open(between, {view(), model});
    EXPECT_EQ(onlyWindow()->geometry(), QRect(40, 60, 400, 113));
}

TEST_F(QuickPanelHostPlainTest, AFrameWithoutSizeIsOnePoint) {
    auto empty = request();
    empty.frame.width = 0;
    empty.frame.height = -5;
    const auto panel = host.open(empty, {view(), model});
    EXPECT_EQ(onlyWindow()->size(), QSize(1, 1));
}

TEST_F(QuickPanelHostPlainTest, AnInteractivePanelAloneTakesThePointer) {
    auto asked = request();
    auto panel = host.open(asked, {view(), model});
    EXPECT_TRUE(onlyWindow()->flags().testFlag(Qt::WindowTransparentForInput));
    panel.reset();
    drainEvents();
    asked.isInteractive = true;
    panel = host.open(asked, {view(), model});
    EXPECT_FALSE(onlyWindow()->flags().testFlag(Qt::WindowTransparentForInput));
}

TEST_F(QuickPanelHostPlainTest, AClosedPanelIsHiddenAtOnceAndGoneInTheNextTurn) {
    auto panel = open();
    auto* window = onlyWindow();
    panel.reset();
    EXPECT_FALSE(window->isVisible());
    drainEvents();
    EXPECT_EQ(QGuiApplication::allWindows().size(), 0);
}

TEST_F(QuickPanelHostPlainTest, AGlideDoesNothing) {
    const auto panel = open();
    panel->glide(StripGlide{{0, 0, 400, 4}, 1, std::chrono::seconds(1), {}, {}});
    panel->stopGlide();
    EXPECT_TRUE(onlyWindow()->isVisible());
}

TEST_F(QuickPanelHostPlainTest, ADisplayServerThatIsGoneShowsNothing) {
    displays.failDisplays("gone");
    const auto panel = open();
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(QGuiApplication::allWindows().size(), 0);
}

TEST_F(QuickPanelHostPlainTest, PreparingTellsWhatDoesNotCompile) {
    EXPECT_TRUE(host.prepare(view()));
    EXPECT_FALSE(host.prepare(QUrl(u"qrc:/no/such/View.qml"_qs)));
}

} // namespace lumivane::test
