#include "platform/PanelHostFixture.h"

#include <QGuiApplication>

#include <X11/keysym.h>
#include <gmock/gmock.h>

#include <algorithm>

namespace lumivane::test {

using testing::ElementsAre;
using testing::IsEmpty;

class QuickPanelHostTest : public PanelHostTest {
protected:
    /// Another program with the keyboard; what it saw of getting it is forgotten.
    std::unique_ptr<XLoggingWindow>
    otherProgram(const QRect& area = QRect(600, 400, 300, 200),
                 XLoggingWindow::Kind kind = XLoggingWindow::Kind::plain) {
        auto window = std::make_unique<XLoggingWindow>(desktop.server().displayName(), area, kind);
        if (hasManager()) {
            EXPECT_TRUE(waitUntil([&] { return window->hasFocus(); }));
        } else {
            window->takeFocus();
        }
        window->takeEvents();
        return window;
    }

    std::string down(xcb_keysym_t key) {
        return "key " + std::to_string(desktop.keycodeOf(key)) + " down";
    }

    std::string up(xcb_keysym_t key) {
        return "key " + std::to_string(desktop.keycodeOf(key)) + " up";
    }

    const QRect place{100, 100, 400, 112};
};

INSTANTIATE_TEST_SUITE_P(Desktop, QuickPanelHostTest,
                         testing::Values(PanelDesktop::Manager::none,
                                         PanelDesktop::Manager::openbox),
                         nameOfManager);

TEST_P(QuickPanelHostTest, APanelStandsExactlyWhereItWasAskedFor) {
    const auto panel = openDrawn(requestAt(place), place);
    EXPECT_EQ(desktop.windowsAt(place).size(), 1U);
    const QImage around = desktop.screen(place.adjusted(-1, -1, 1, 1));
    for (int y = 1; y <= place.height(); ++y) {
        ASSERT_EQ(around.pixel(1, y), red) << y;
        ASSERT_EQ(around.pixel(place.width(), y), red) << y;
        ASSERT_NE(around.pixel(0, y), red) << y;
        ASSERT_NE(around.pixel(place.width() + 1, y), red) << y;
    }
    EXPECT_NE(around.pixel(place.width() / 2, 0), red);
    EXPECT_NE(around.pixel(place.width() / 2, place.height() + 1), red);
}

TEST_P(QuickPanelHostTest, AClosedPanelIsGoneAtOnce) {
    auto panel = openDrawn(requestAt(place), place);
    panel.reset();
    EXPECT_FALSE(PanelDesktop::holdsRequestsBack());
    EXPECT_THAT(desktop.windowsAt(place), IsEmpty());
    EXPECT_NE(desktop.pixel(place.center()), red);
}

TEST_P(QuickPanelHostTest, ADisplayThatIsNotThereShowsNothing) {
    auto request = requestAt(place);
    request.displayID = 1;
    const auto panel = open(request);
    ASSERT_NE(panel, nullptr);
    panel->glide({});
    panel->stopGlide();
    drainEvents();
    EXPECT_THAT(QGuiApplication::allWindows(), IsEmpty());
}

TEST_P(QuickPanelHostTest, TheKeyboardStaysWhereItIsWhilePanelsComeAndGo) {
    const auto other = otherProgram();
    auto request = requestAt(place);
    for (const bool isInteractive : {false, true}) {
        request.isInteractive = isInteractive;
        auto panel = openDrawn(request, place);
        desktop.type(XK_a);
        panel.reset();
        drainEvents();
        desktop.type(XK_b);
    }
    EXPECT_THAT(other->takeEvents(), ElementsAre(down(XK_a), up(XK_a), down(XK_b), up(XK_b),
                                                 down(XK_a), up(XK_a), down(XK_b), up(XK_b)));
    PanelDesktop::settle();
    EXPECT_TRUE(other->hasFocus());
}

TEST_P(QuickPanelHostTest, AClickOnAnInteractivePanelReachesItAndLeavesTheKeyboardAlone) {
    const auto other = otherProgram();
    auto request = requestAt(place);
    request.isInteractive = true;
    const auto panel = openDrawn(request, place);
    desktop.click(place.center());
    ASSERT_TRUE(waitUntil([this] { return model->events.contains(u"clicked"_qs); }));
    desktop.type(XK_a);
    EXPECT_THAT(other->takeEvents(), ElementsAre(down(XK_a), up(XK_a)));
    PanelDesktop::settle();
    EXPECT_TRUE(other->hasFocus());
}

TEST_P(QuickPanelHostTest, AClickOnAPanelThatIsNotInteractiveGoesToWhatLiesBelow) {
    const auto other = otherProgram(QRect(50, 50, 600, 400));
    const auto panel = openDrawn(requestAt(place), place);
    desktop.click(place.center());
    ASSERT_TRUE(waitUntil([&] {
        const auto events = other->takeEvents();
        return std::count(events.begin(), events.end(), "button 1 down") == 1;
    }));
    drainEvents();
    EXPECT_THAT(model->events, IsEmpty());
    EXPECT_EQ(desktop.pixel(place.center()), red) << "it stays on top";
}

TEST_P(QuickPanelHostTest, APanelStandsAboveAFullScreenWindow) {
    const auto other = otherProgram(QRect(0, 0, 1280, 800), XLoggingWindow::Kind::fullScreen);
    const auto panel = openDrawn(requestAt(place), place);
    PanelDesktop::settle();
    EXPECT_TRUE(other->hasFocus());
    EXPECT_EQ(desktop.pixel(place.bottomRight() + QPoint(1, 1)), white);
}

TEST_P(QuickPanelHostTest, AFullScreenWindowThatComesLaterStandsBelow) {
    const auto panel = openDrawn(requestAt(place), place);
    const auto other = otherProgram(QRect(0, 0, 1280, 800), XLoggingWindow::Kind::fullScreen);
    EXPECT_TRUE(desktop.waitForPixel({20, 20}, white));
    EXPECT_TRUE(desktop.waitForPixel(place.center(), red));
}

TEST_P(QuickPanelHostTest, AnOrdinaryWindowThatRaisesItselfStandsBelow) {
    const auto other = otherProgram(QRect(50, 50, 600, 400));
    const auto panel = openDrawn(requestAt(place), place);
    for (int i = 0; i < 3; ++i) {
        other->raise();
        EXPECT_TRUE(desktop.waitForPixel(place.center(), red));
    }
}

TEST_P(QuickPanelHostTest, WhatLocksTheScreenMayStandAbove) {
    const auto panel = openDrawn(requestAt(place), place);
    const auto lock = desktop.client().show({.area = QRect(0, 0, 1280, 800), .seed = 9});
    desktop.client().sync();
    QCoreApplication::processEvents();
    EXPECT_EQ(desktop.windows().back(), lock);
}

TEST_P(QuickPanelHostTest, AKeyboardPanelHearsItsKeysAndGivesTheKeyboardBack) {
    const auto other = otherProgram();
    auto request = requestAt(place);
    request.isInteractive = true;
    request.acceptsKeyboard = true;
    auto panel = openDrawn(request, place);
    EXPECT_TRUE(waitUntil([] { return QGuiApplication::focusWindow() != nullptr; }));
    desktop.type(XK_Return);
    desktop.type(XK_Escape);
    EXPECT_TRUE(waitUntil([this] { return model->events.size() >= 2; }));
    EXPECT_EQ(model->events, QStringList({u"return"_qs, u"escape"_qs}));
    EXPECT_THAT(other->takeEvents(), ElementsAre("focus out"));

    panel.reset();
    PanelDesktop::settle();
    EXPECT_TRUE(other->hasFocus()) << "at once";
    desktop.type(XK_Return);
    EXPECT_THAT(other->takeEvents(), ElementsAre("focus in", down(XK_Return), up(XK_Return)));
}

TEST_P(QuickPanelHostTest, TheKeyboardIsTakenHoweverLongTheProgramHasBeenIdle) {
    const auto other = otherProgram();
    // The toolkit has seen no event of these times.
    desktop.type(XK_a);
    if (!hasManager()) {
        other->takeFocus();
    }
    auto request = requestAt(place);
    request.acceptsKeyboard = true;
    const auto panel = open(request);
    EXPECT_EQ(desktop.windowsAt(place), std::vector{desktop.focus()});
}

TEST_P(QuickPanelHostTest, AKeyboardThatTheUserHasMovedStaysWhereItIs) {
    const auto first = otherProgram();
    auto request = requestAt(place);
    request.acceptsKeyboard = true;
    auto panel = openDrawn(request, place);
    const auto second = otherProgram(QRect(600, 50, 200, 100));
    panel.reset();
    drainEvents();
    PanelDesktop::settle();
    EXPECT_TRUE(second->hasFocus());
    EXPECT_FALSE(first->hasFocus());
}

TEST_P(QuickPanelHostTest, AWindowThatHasGoneMeanwhileIsNotMissed) {
    auto other = otherProgram();
    auto request = requestAt(place);
    request.acceptsKeyboard = true;
    auto panel = openDrawn(request, place);
    other->close();
    panel.reset();
    drainEvents();
    EXPECT_THAT(desktop.windowsAt(place), IsEmpty());
    const auto next = otherProgram();
    EXPECT_TRUE(next->hasFocus());
}

TEST_P(QuickPanelHostTest, TwoKeyboardPanelsGiveBackInTheOrderTheyCame) {
    const auto other = otherProgram();
    auto request = requestAt(place);
    request.acceptsKeyboard = true;
    auto first = openDrawn(request, place);
    const QRect below(100, 300, 400, 112);
    request.frame = requestAt(below).frame;
    auto second = openDrawn(request, below);
    second.reset();
    EXPECT_EQ(desktop.windowsAt(place), std::vector{desktop.focus()});
    first.reset();
    PanelDesktop::settle();
    EXPECT_TRUE(other->hasFocus());
}

TEST_P(QuickPanelHostTest, TwoKeyboardPanelsGiveBackInTheOtherOrder) {
    const auto other = otherProgram();
    auto request = requestAt(place);
    request.acceptsKeyboard = true;
    auto first = openDrawn(request, place);
    const QRect below(100, 300, 400, 112);
    request.frame = requestAt(below).frame;
    auto second = openDrawn(request, below);
    first.reset();
    EXPECT_EQ(desktop.windowsAt(below), std::vector{desktop.focus()}) << "still with the second";
    second.reset();
    PanelDesktop::settle();
    EXPECT_TRUE(other->hasFocus()) << "past the first, which is gone";
}

TEST_P(QuickPanelHostTest, APanelMayCloseInsideAClickOfItsOwn) {
    auto request = requestAt(place);
    request.isInteractive = true;
    auto panel = openDrawn(request, place);
    model->onEvent = [&](const QString& event) {
        if (event == u"click"_qs) {
            panel.reset();
            EXPECT_THAT(desktop.windowsAt(place), IsEmpty()) << "at once";
        }
    };
    desktop.click(place.center());
    EXPECT_TRUE(waitUntil([this] { return model->events.contains(u"clicked"_qs); }));
    drainEvents();
    EXPECT_EQ(panel, nullptr);
}

TEST_P(QuickPanelHostTest, APanelMayCloseInsideAKeyOfItsOwn) {
    const auto other = otherProgram();
    auto request = requestAt(place);
    request.isInteractive = true;
    request.acceptsKeyboard = true;
    auto panel = openDrawn(request, place);
    model->onEvent = [&panel](const QString& event) {
        if (event == u"escape"_qs) {
            panel.reset();
        }
    };
    EXPECT_TRUE(waitUntil([] { return QGuiApplication::focusWindow() != nullptr; }));
    desktop.type(XK_Escape);
    EXPECT_TRUE(waitUntil([&panel] { return panel == nullptr; }));
    drainEvents();
    PanelDesktop::settle();
    EXPECT_TRUE(other->hasFocus());
}

TEST_P(QuickPanelHostTest, NothingReachesTheModelOfAClosedPanel) {
    auto request = requestAt(place);
    request.isInteractive = true;
    auto panel = openDrawn(request, place);
    desktop.movePointer(place.center());
    ASSERT_TRUE(waitUntil([this] { return model->events.contains(u"enter"_qs); }));
    model->events.clear();
    desktop.press(1);
    panel.reset();
    desktop.release(1);
    desktop.movePointer({5, 5});
    QCoreApplication::processEvents(); // before the view goes
    drainEvents();
    EXPECT_EQ(model->events, QStringList());
}

TEST_P(QuickPanelHostTest, TheModelLivesAsLongAsTheView) {
    auto panel = openDrawn(requestAt(place), place);
    const std::weak_ptr<PanelModel> watched = model;
    model.reset();
    EXPECT_FALSE(watched.expired());
    panel.reset();
    EXPECT_FALSE(watched.expired()) << "its view may be in the middle of a call";
    drainEvents();
    EXPECT_TRUE(watched.expired());
}

} // namespace lumivane::test
