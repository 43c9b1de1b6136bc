// Who gets which key while panels come and go.

#include "integration/OverlayRoad.h"
#include "support/EventLoop.h"

#include <QGuiApplication>

#include <X11/keysym.h>
#include <gmock/gmock.h>

namespace lumivane::test {

using testing::ElementsAre;
using testing::IsEmpty;

class OverlayKeyboardTest : public OverlayRoadTest {
protected:
    enum class Click { yes, no };

    /// What reaches the other program while one panel comes, is clicked and goes again.
    template <typename Show>
    std::vector<std::string> seenAround(XLoggingWindow& other, Show&& show,
                                        Click isClicked = Click::yes) {
        show();
        desktop.type(XK_a);
        if (isClicked == Click::yes) {
            desktop.click(areaOf(panel()).center());
        }
        desktop.type(XK_b);
        drainEvents();
        overlays.clearAll();
        desktop.type(XK_c);
        EXPECT_TRUE(waitForPanels(0));
        EXPECT_TRUE(other.hasFocus());
        return other.takeEvents();
    }

    /// Presses Escape, and says whether it reached the other program.
    bool escapeReaches(XLoggingWindow& other) {
        desktop.type(XK_Escape);
        const auto seen = other.takeEvents();
        EXPECT_TRUE(seen.empty() || seen == strokes({XK_Escape}));
        return !seen.empty();
    }

    bool escapeCloses() {
        desktop.type(XK_Escape);
        return waitForPanels(0);
    }

    void expectKeyboardIn(QQuickWindow& window) {
        EXPECT_TRUE(waitUntil([&window] { return QGuiApplication::focusWindow() == &window; }));
        EXPECT_EQ(desktop.focus(), static_cast<xcb_window_t>(window.winId()));
    }
};

INSTANTIATE_TEST_SUITE_P(Desktop, OverlayKeyboardTest, eachDesktop, nameOfDesktop);

TEST_P(OverlayKeyboardTest, PanelsComeAreClickedAndGoUnnoticedByTheProgramThatHasTheKeyboard) {
    const auto other = otherProgram();
    const auto unmoved = strokes({XK_a, XK_b, XK_c});
    // A click on this one is for what lies under it.
    EXPECT_EQ(seenAround(
                  *other, [this] { showWorking(); }, Click::no),
              unmoved);
    for (const ResultKind kind : allCases<ResultKind>()) {
        EXPECT_EQ(seenAround(*other, [this, kind] { showResult(kind); }), unmoved)
            << rawValue(kind).data();
    }
    EXPECT_EQ(seenAround(*other, [this] { showError(); }), unmoved);
    EXPECT_EQ(seenAround(*other, [this] { showNotesStatus(); }), unmoved);
}

TEST_P(OverlayKeyboardTest, EscapeClosesAResultAndIsEverybodysAgain) {
    const auto other = otherProgram();
    for (const ResultKind kind : allCases<ResultKind>()) {
        EXPECT_TRUE(escapeReaches(*other)) << "before " << rawValue(kind).data();
        showResult(kind);
        desktop.type(XK_a);
        EXPECT_TRUE(escapeCloses()) << rawValue(kind).data();
        EXPECT_EQ(other->takeEvents(), strokes({XK_a})) << rawValue(kind).data();
        EXPECT_TRUE(escapeReaches(*other)) << "after " << rawValue(kind).data();
    }
}

TEST_P(OverlayKeyboardTest, WhereTheUserKeepsEscapeAnOrdinaryResultLeavesIt) {
    settings.dismissWithEscape = false;
    const auto other = otherProgram();
    for (const ResultKind kind : allCases<ResultKind>()) {
        showResult(kind);
        EXPECT_TRUE(escapeReaches(*other)) << rawValue(kind).data();
        drainEvents();
        EXPECT_EQ(panels().size(), 1U) << rawValue(kind).data();
    }
}

TEST_P(OverlayKeyboardTest, AnErrorTakesEscapeAllTheSame) {
    settings.dismissWithEscape = false;
    const auto other = otherProgram();
    showError();
    EXPECT_TRUE(escapeCloses());
    EXPECT_THAT(other->takeEvents(), IsEmpty());
    EXPECT_TRUE(escapeReaches(*other));
}

TEST_P(OverlayKeyboardTest, EscapeIsGivenBackWhenTheClockClosesAResult) {
    const auto other = otherProgram();
    showResult(ResultKind::text);
    clock.advance(std::chrono::seconds(6));
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_TRUE(escapeReaches(*other));
}

TEST_P(OverlayKeyboardTest, PanelsThatAreNoResultLeaveEscape) {
    const auto other = otherProgram();
    showWorking();
    EXPECT_TRUE(escapeReaches(*other));
    overlays.clearWorking();
    EXPECT_TRUE(waitForPanels(0));
    showNotesStatus();
    EXPECT_TRUE(escapeReaches(*other));
    drainEvents();
    EXPECT_EQ(panels().size(), 1U);
}

TEST_P(OverlayKeyboardTest, EscapeClosesTheResultBesideANotesPanel) {
    const auto other = otherProgram();
    showNotesStatus();
    showResult(ResultKind::text);
    desktop.type(XK_Escape);
    EXPECT_TRUE(waitForPanels(1));
    EXPECT_EQ(areaOf(panel()).size(), QSize(620, 132));
    EXPECT_TRUE(escapeReaches(*other));
}

TEST_P(OverlayKeyboardTest, ReturnLogsInAndGivesTheKeyboardBack) {
    const auto other = otherProgram();
    showLogin();
    expectKeyboardIn(panel());
    desktop.type(XK_Return);
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_EQ(logins, 1);
    EXPECT_TRUE(other->hasFocus());
    EXPECT_THAT(other->takeEvents(), ElementsAre("focus out", "focus in"));
    EXPECT_TRUE(escapeReaches(*other));
}

TEST_P(OverlayKeyboardTest, EscapeDismissesTheLoginPanelAndGivesTheKeyboardBack) {
    const auto other = otherProgram();
    showLogin();
    expectKeyboardIn(panel());
    desktop.type(XK_Escape);
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_EQ(logins, 0);
    EXPECT_TRUE(other->hasFocus());
    EXPECT_THAT(other->takeEvents(), ElementsAre("focus out", "focus in"));
}

TEST_P(OverlayKeyboardTest, TheOtherAccountPanelTakesTheSameKeys) {
    const auto other = otherProgram();
    showEvicted();
    expectKeyboardIn(panel());
    desktop.type(XK_Escape);
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_EQ(logins, 0);
    showEvicted();
    expectKeyboardIn(panel());
    desktop.type(XK_Return);
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_EQ(logins, 1);
    EXPECT_TRUE(other->hasFocus());
}

TEST_P(OverlayKeyboardTest, EscapeClosesAResultBeforeTheLoginPanelBesideIt) {
    const auto other = otherProgram();
    showLogin();
    expectKeyboardIn(panel());
    showResult(ResultKind::choice);
    desktop.type(XK_Escape);
    EXPECT_TRUE(waitForPanels(1));
    EXPECT_NE(find(u"authenticationRequiredPopup"_qs), nullptr);
    expectKeyboardIn(panel());
    desktop.type(XK_Escape);
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_TRUE(other->hasFocus());
}

TEST_P(OverlayKeyboardTest, TwoRequestsForALoginGiveOnePanelAndOneAnnouncement) {
    showLogin();
    const QRect place = areaOf(panel());
    settings.overlayPosition = OverlayPosition::topLeft;
    overlays.showAuthenticationRequired(displayAt(0), settings, [this] { logins += 100; });
    drainEvents();
    EXPECT_EQ(areaOf(panel()), place);
    EXPECT_THAT(announced.announcements,
                ElementsAre(FakeAnnouncer::Announcement{
                    u"Log in to Lumivane to analyze this screen."_qs, AnnouncementPriority::high}));
    expectKeyboardIn(panel());
    desktop.type(XK_Return);
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_EQ(logins, 1);
}

} // namespace lumivane::test
