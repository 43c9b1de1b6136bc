// What the pointer does to panels, and to what lies under them.

#include "integration/OverlayRoad.h"
#include "support/EventLoop.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace lumivane::test {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class OverlayPointerTest : public OverlayRoadTest {
protected:
    /// Clicks in the middle of the panel, and says whether that closed it.
    bool clickCloses() {
        hover();
        desktop.press(1);
        desktop.release(1);
        leave(); // once the panel knows of that, it knows of the click
        return panels().empty();
    }

    QRect answerArea() { return areaOf(*find(u"answerText"_qs)); }

    /// Presses at one place, moves to the other in steps and lets go.
    void drag(const QPoint& from, const QPoint& to) {
        desktop.movePointer(from);
        desktop.press(1);
        for (int step = 1; step <= 8; ++step) {
            desktop.movePointer(from + (to - from) * step / 8);
        }
        desktop.release(1);
    }
};

INSTANTIATE_TEST_SUITE_P(Desktop, OverlayPointerTest, eachDesktop, nameOfDesktop);

TEST_P(OverlayPointerTest, EveryPanelStandsAboveAFullScreenWindow) {
    settings.backgroundOpacity = 100;
    const auto other = otherProgram(QRect(0, 0, 1280, 800), XLoggingWindow::Kind::fullScreen);
    const auto standsAbove = [this] {
        const bool isTopmost =
            desktop.windows().back() == static_cast<xcb_window_t>(panel().winId());
        const QPoint inside = areaOf(panel()).topLeft() + QPoint(20, 12);
        const bool isSeen =
            waitUntil([&] { return (desktop.pixel(inside) | 0xff000000) != 0xffffffff; });
        overlays.clearAll();
        return isTopmost && isSeen && waitForPanels(0);
    };
    showWorking();
    EXPECT_TRUE(standsAbove());
    for (const ResultKind kind : allCases<ResultKind>()) {
        showResult(kind);
        EXPECT_TRUE(standsAbove()) << rawValue(kind).data();
    }
    showError();
    EXPECT_TRUE(standsAbove());
    showNotesStatus();
    EXPECT_TRUE(standsAbove());
    EXPECT_THAT(other->takeEvents(), IsEmpty()) << "the keyboard was never taken";
    showLogin();
    EXPECT_TRUE(standsAbove());
    showEvicted();
    EXPECT_TRUE(standsAbove());
    EXPECT_TRUE(other->hasFocus());
}

TEST_P(OverlayPointerTest, AClickOnTheWorkingPanelReachesWhatLiesUnderIt) {
    const auto other = otherProgram(QRect(700, 500, 580, 300));
    showWorking();
    desktop.click(areaOf(panel()).center());
    EXPECT_TRUE(waitUntil([&] {
        const auto events = other->takeEvents();
        return std::count(events.begin(), events.end(), "button 1 down") == 1;
    }));
    drainEvents();
    EXPECT_EQ(panels().size(), 1U);
}

TEST_P(OverlayPointerTest, AClickOnAnyOtherPanelStaysWithIt) {
    const auto other = otherProgram(QRect(700, 450, 580, 350));
    showResult(ResultKind::text);
    desktop.click(areaOf(panel()).center());
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_THAT(other->takeEvents(), IsEmpty());
}

TEST_P(OverlayPointerTest, ThePointerOnAResultHoldsItsClock) {
    showResult(ResultKind::text);
    clock.advance(seconds(2));
    EXPECT_EQ(remaining(), u"4s"_qs);
    hover();
    clock.advance(std::chrono::minutes(10));
    EXPECT_EQ(remaining(), u"4s"_qs);
    leave();
    clock.advance(milliseconds(3900));
    EXPECT_EQ(remaining(), u"1s"_qs);
    EXPECT_EQ(panels().size(), 1U);
    clock.advance(milliseconds(100));
    EXPECT_TRUE(waitForPanels(0));
}

TEST_P(OverlayPointerTest, ThePointerOnAButtonOfAResultHoldsItsClockToo) {
    showResult(ResultKind::text, u"the answer"_qs, false);
    hover();
    desktop.movePointer(areaOf(*find(u"resultCopy"_qs)).center());
    EXPECT_TRUE(waitUntil([] { return find(u"resultCopy"_qs)->property("hovered").toBool(); }));
    clock.advance(std::chrono::minutes(10));
    EXPECT_EQ(remaining(), u"6s"_qs);
}

TEST_P(OverlayPointerTest, AResultUnderAPointerThatWasThereBeforeIsHeldOnceItMoves) {
    desktop.movePointer({1000, 650});
    showResult(ResultKind::text);
    hover();
    clock.advance(std::chrono::minutes(10));
    EXPECT_EQ(remaining(), u"6s"_qs);
}

TEST_P(OverlayPointerTest, WithoutTheSettingThePointerHoldsNothing) {
    settings.extendOnHover = false;
    showResult(ResultKind::text);
    hover();
    clock.advance(milliseconds(5900));
    EXPECT_EQ(remaining(), u"1s"_qs);
    clock.advance(milliseconds(100));
    EXPECT_TRUE(waitForPanels(0));
}

TEST_P(OverlayPointerTest, ThePointerHoldsAnErrorWhateverTheSetting) {
    settings.extendOnHover = false;
    showError();
    clock.advance(seconds(5));
    hover();
    clock.advance(std::chrono::minutes(10));
    EXPECT_EQ(remaining(), u"15s"_qs);
    leave();
    clock.advance(seconds(15));
    EXPECT_TRUE(waitForPanels(0));
}

TEST_P(OverlayPointerTest, AClickClosesAnOrdinaryResult) {
    for (const ResultKind kind : {ResultKind::choice, ResultKind::answers, ResultKind::text}) {
        showResult(kind);
        EXPECT_TRUE(clickCloses()) << rawValue(kind).data();
    }
}

TEST_P(OverlayPointerTest, AClickClosesAResultThatScrolls) {
    showResult(ResultKind::text, u"a line that is one of many\n"_qs.repeated(60));
    EXPECT_TRUE(clickCloses());
}

TEST_P(OverlayPointerTest, WhereTheUserKeepsEscapeAClickDoesNothingToAnOrdinaryResult) {
    settings.dismissWithEscape = false;
    for (const ResultKind kind : {ResultKind::choice, ResultKind::answers, ResultKind::text}) {
        showResult(kind);
        EXPECT_FALSE(clickCloses()) << rawValue(kind).data();
    }
}

TEST_P(OverlayPointerTest, AClickAlwaysClosesAnError) {
    settings.dismissWithEscape = false;
    showError();
    EXPECT_TRUE(clickCloses());
}

TEST_P(OverlayPointerTest, ALeetCodeAnswerClosesByItsButtonAlone) {
    for (const bool dismissWithEscape : {true, false}) {
        settings.dismissWithEscape = dismissWithEscape;
        showResult(ResultKind::leetCode, u"# Two sums\nUse a map."_qs);
        EXPECT_FALSE(clickCloses()) << dismissWithEscape;
        click(u"resultClose"_qs);
        EXPECT_TRUE(waitForPanels(0)) << dismissWithEscape;
    }
}

TEST_P(OverlayPointerTest, ANotesPanelClosesByItsButtonAlone) {
    showNotesStatus();
    desktop.click(areaOf(panel()).center());
    desktop.movePointer(areaOf(*find(u"notesStatusDismiss"_qs)).center());
    EXPECT_TRUE(
        waitUntil([] { return find(u"notesStatusDismiss"_qs)->property("hovered").toBool(); }));
    EXPECT_EQ(panels().size(), 1U);
    click(u"notesStatusDismiss"_qs);
    EXPECT_TRUE(waitForPanels(0));
}

TEST_P(OverlayPointerTest, TheBannerOfALeetCodeAnswerGoesWithoutIt) {
    showResult(ResultKind::leetCode);
    overlays.showNotesStatus(u"the reason"_qs, displayAt(0), settings);
    ASSERT_TRUE(waitUntil([] { return find(u"notesBannerDismiss"_qs) != nullptr; }));
    EXPECT_EQ(panels().size(), 1U);
    click(u"notesBannerDismiss"_qs);
    EXPECT_TRUE(waitUntil([] { return find(u"notesBannerDismiss"_qs) == nullptr; }));
    EXPECT_EQ(panels().size(), 1U);
}

TEST_P(OverlayPointerTest, TheCopyButtonWritesTheAnswerWithItsMarks) {
    std::vector<qint64> writes;
    QObject::connect(&overlayPasteboard, &OverlayPasteboard::didWrite, &overlayPasteboard,
                     [&writes](qint64 changeCount) { writes.push_back(changeCount); });
    const auto other = otherProgram();
    showResult(ResultKind::answers, u"1. Ünïcode 文字 🙂"_qs, false);
    announced.announcements.clear();
    click(u"resultCopy"_qs);
    ASSERT_TRUE(waitUntil([&] { return writes.size() == 1; }));
    EXPECT_EQ(writes.front(), pasteboard.changeCount());
    EXPECT_EQ(QString::fromUtf8(selection(u"clipboard"_qs)), u"1. Ünïcode 文字 🙂"_qs);
    EXPECT_THAT(selection(u"clipboard"_qs, u"TARGETS"_qs).split('\n'),
                Contains(QByteArray("org.nspasteboard.TransientType")));
    EXPECT_EQ(selection(u"clipboard"_qs, u"x-kde-passwordManagerHint"_qs), "secret");
    EXPECT_THAT(announced.announcements,
                ElementsAre(FakeAnnouncer::Announcement{u"Copied to clipboard"_qs,
                                                        AnnouncementPriority::medium}));
    EXPECT_EQ(pasteboard.changeCount(), writes.front()) << "being read changes nothing";
    EXPECT_EQ(find(u"resultCopy"_qs)->property("label").toString(), u"Copied"_qs);
    EXPECT_TRUE(other->hasFocus());
    EXPECT_THAT(other->takeEvents(), IsEmpty());
    EXPECT_EQ(panels().size(), 1U);
}

TEST_P(OverlayPointerTest, TheCopyButtonOfALeetCodeAnswerCopiesItsSource) {
    const auto source = u"# Two sums\n**Map** them.\n```cpp\nint x;\n```"_qs;
    showResult(ResultKind::leetCode, source, false);
    click(u"resultCopy"_qs);
    EXPECT_TRUE(
        waitUntil([] { return find(u"resultCopy"_qs)->property("label") == u"Copied"_qs; }));
    EXPECT_EQ(QString::fromUtf8(selection(u"clipboard"_qs)), source);
}

TEST_P(OverlayPointerTest, TheTextOfALeetCodeAnswerIsSelectedByDragging) {
    const auto other = otherProgram(QRect(5, 5, 30, 20));
    showResult(ResultKind::leetCode, u"Walk **once** over it.\nKeep what was seen."_qs);
    const QRect text = answerArea();
    drag(text.topLeft() + QPoint(1, 4), text.bottomRight() - QPoint(1, 2));
    EXPECT_TRUE(waitUntil(
        [] { return !find(u"answerText"_qs)->property("selectedText").toString().isEmpty(); }));
    EXPECT_EQ(QString::fromUtf8(selection(u"primary"_qs)),
              u"Walk once over it.\nKeep what was seen."_qs);
    EXPECT_EQ(panels().size(), 1U);
    EXPECT_TRUE(other->hasFocus());
    EXPECT_THAT(other->takeEvents(), IsEmpty());
}

TEST_P(OverlayPointerTest, NoOtherAnswerIsSelectedByDragging) {
    settings.dismissWithEscape = false;
    showResult(ResultKind::text, u"Walk once over it."_qs);
    const QRect text = answerArea();
    drag(text.topLeft() + QPoint(1, 4), text.topLeft() + QPoint(150, 4));
    leave();
    EXPECT_EQ(find(u"answerText"_qs)->property("selectedText").toString(), QString());
}

TEST_P(OverlayPointerTest, TheButtonsOfTheAccountPanelsAreClicked) {
    const auto other = otherProgram();
    showLogin();
    click(u"authenticationRequiredDismiss"_qs);
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_EQ(logins, 0);
    showLogin();
    click(u"authenticationRequiredLogin"_qs);
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_EQ(logins, 1);
    showEvicted();
    click(u"deviceEvictedDismiss"_qs);
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_EQ(logins, 1);
    showEvicted();
    click(u"deviceEvictedLogIn"_qs);
    EXPECT_TRUE(waitForPanels(0));
    EXPECT_EQ(logins, 2);
    EXPECT_TRUE(other->hasFocus());
}

} // namespace lumivane::test
