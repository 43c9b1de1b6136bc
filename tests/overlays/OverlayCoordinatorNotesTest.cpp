#include "overlays/NotesStatusModel.h"
#include "overlays/OverlayCoordinatorFixture.h"

namespace lumivane::test {

using namespace std::chrono_literals;

class OverlayCoordinatorNotesTest : public OverlayCoordinatorTest {
protected:
    void showNotes(const QString& message = u"Notes said no."_qs,
                   std::uint32_t displayID = mainDisplay) {
        coordinator->showNotesStatus(message, displayID, settings);
    }
};

TEST_F(OverlayCoordinatorNotesTest, ThePanelStandsAtTheTopCentreWhateverTheSettingsSay) {
    settings.overlayPosition = OverlayPosition::bottomLeft;
    settings.overlayBackground = OverlayBackgroundStyle::none;
    showNotes();
    ASSERT_EQ(host.opened().size(), 1U);
    EXPECT_EQ(host.opened()[0].request,
              (PanelRequest{mainDisplay, {410, 601, 620, 132}, 13, true, false, true}));
    EXPECT_EQ(host.opened()[0].view, OverlayViews::notesStatus());
    EXPECT_EQ(host.model<NotesStatusModel>()->message(), u"Notes said no."_qs);
    EXPECT_EQ(spoken(), QStringList{u"Notes said no."_qs});
    EXPECT_TRUE(log.texts("overlay").empty());
}

TEST_F(OverlayCoordinatorNotesTest, AVerySmallDisplayGivesAPanelOfOnePoint) {
    displays.setVisibleFrame(mainDisplay, Rect{0, 0, 50, 875});
    showNotes();
    EXPECT_EQ(host.opened()[0].request.frame.width, 1);
    EXPECT_EQ(host.opened()[0].request.frame.height, 132);
}

TEST_F(OverlayCoordinatorNotesTest, ItClosesAfterTwentySeconds) {
    showNotes();
    clock.advance(19999ms);
    EXPECT_EQ(host.up(), Numbers{0});
    clock.advance(1ms);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorNotesTest, ItsButtonClosesIt) {
    showNotes();
    EXPECT_TRUE(host.dismiss());
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorNotesTest, ASecondMessageTakesThePlaceOfTheFirstWithAClockOfItsOwn) {
    showNotes();
    const auto old = host.model<NotesStatusModel>();
    clock.advance(15s);
    journal.clear();
    showNotes(u"Again."_qs);
    EXPECT_EQ(journal.entries(),
              (QStringList{u"close 0"_qs, u"open 1"_qs, u"announce behind 0 lines"_qs}));
    old->dismiss();
    clock.advance(19999ms);
    EXPECT_EQ(host.up(), Numbers{1});
    clock.advance(1ms);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorNotesTest, AnUnknownDisplayIsPassedOverInSilence) {
    showNotes(u"first"_qs);
    showNotes(u"second"_qs, unknownDisplay);
    EXPECT_EQ(host.up(), Numbers{0}) << "the earlier message stays, with its clock";
    EXPECT_EQ(spoken(), QStringList{u"first"_qs});
    EXPECT_TRUE(log.texts("overlay").empty());
    clock.advance(20s);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorNotesTest, ALeetCodePanelShowsTheMessageInside) {
    show(u"code"_qs, ResultKind::leetCode);
    const auto timers = clock.timerCount();
    showNotes();
    EXPECT_EQ(host.opened().size(), 1U);
    EXPECT_EQ(clock.timerCount(), timers) << "no clock was started";
    EXPECT_TRUE(result()->hasNotesFailure());
    EXPECT_EQ(result()->notesFailure(), u"Notes said no."_qs);
    EXPECT_EQ(spoken().last(), u"Notes said no."_qs);
    EXPECT_EQ(logged(LogLevel::standard, "Reported a Notes failure inside the LeetCode panel"), 1);
}

TEST_F(OverlayCoordinatorNotesTest, TheBannerNeedsNoDisplay) {
    show(u"code"_qs, ResultKind::leetCode);
    showNotes(u"no"_qs, unknownDisplay);
    EXPECT_TRUE(result()->hasNotesFailure());
}

TEST_F(OverlayCoordinatorNotesTest, TheBannerOutlivesTheClearingOfThePanel) {
    showNotes(u"before"_qs);
    show(u"code"_qs, ResultKind::leetCode);
    showNotes(u"inside"_qs);
    EXPECT_EQ(host.up(), (Numbers{0, 1}));
    coordinator->clearNotesStatus();
    EXPECT_EQ(host.up(), Numbers{1});
    EXPECT_EQ(result()->notesFailure(), u"inside"_qs);
    result()->dismissNotesFailure();
    EXPECT_FALSE(result()->hasNotesFailure());
    EXPECT_EQ(host.up(), Numbers{1}) << "the banner goes, the answer stays";
}

TEST_F(OverlayCoordinatorNotesTest, BesideAnyOtherResultThePanelOpens) {
    for (const ResultKind kind : {ResultKind::text, ResultKind::choice, ResultKind::answers}) {
        show(u"a"_qs, kind);
        const auto model = result();
        showNotes();
        EXPECT_EQ(host.up().size(), 2U);
        EXPECT_EQ(host.opened().back().request,
                  OverlayPlacement::notesStatus({mainDisplay, mainVisible}));
        EXPECT_FALSE(model->hasNotesFailure());
        coordinator->clearAll();
    }
}

TEST_F(OverlayCoordinatorNotesTest, AnErrorInPlaceOfALeetCodePanelCountsAsText) {
    show(u"code"_qs, ResultKind::leetCode);
    showError();
    showNotes();
    EXPECT_EQ(host.up(), (Numbers{1, 2}));
}

TEST_F(OverlayCoordinatorNotesTest, AfterALeetCodePanelThePanelOpens) {
    show(u"code"_qs, ResultKind::leetCode);
    host.dismiss();
    showNotes();
    EXPECT_EQ(host.up(), Numbers{1});
}

TEST_F(OverlayCoordinatorNotesTest, TheNextResultStartsWithoutABanner) {
    show(u"code"_qs, ResultKind::leetCode);
    showNotes();
    show(u"more code"_qs, ResultKind::leetCode);
    EXPECT_FALSE(result()->hasNotesFailure());
}

} // namespace lumivane::test
