#include "overlays/OverlayCoordinatorFixture.h"

namespace lumivane::test {

using namespace std::chrono_literals;

class OverlayCoordinatorResultTest : public OverlayCoordinatorTest {};

TEST_F(OverlayCoordinatorResultTest, EachKindHasItsOwnPanel) {
    for (const ResultKind kind : allCases<ResultKind>()) {
        show(u"an answer"_qs, kind);
        const auto& opened = host.opened().back();
        EXPECT_EQ(opened.request,
                  OverlayPlacement::result(kind, {mainDisplay, mainVisible}, settings));
        EXPECT_EQ(opened.view, OverlayViews::result());
        EXPECT_EQ(result()->isLeetCode(), kind == ResultKind::leetCode);
        EXPECT_EQ(result()->isChoice(), kind == ResultKind::choice);
        EXPECT_FALSE(result()->isError());
        EXPECT_EQ(result()->passage(), u"an answer"_qs);
    }
    EXPECT_EQ(host.up().size(), 1U);
}

TEST_F(OverlayCoordinatorResultTest, ALeetCodePanelFollowsTheSizeOfItsDisplay) {
    displays.setVisibleFrame(mainDisplay, Rect{0, 0, 1000, 700});
    settings.overlayPosition = OverlayPosition::middleCenter;
    show(u"code"_qs, ResultKind::leetCode);
    EXPECT_EQ(host.opened()[0].request.frame, (Rect{40, 50, 920, 600}));
}

TEST_F(OverlayCoordinatorResultTest, AVerySmallDisplayGivesAPanelOfOnePoint) {
    displays.setVisibleFrame(mainDisplay, Rect{0, 0, 50, 875});
    show(u"code"_qs, ResultKind::leetCode);
    EXPECT_EQ(host.opened()[0].request.frame.width, 1);
    EXPECT_EQ(host.opened()[0].request.frame.height, 775);
}

TEST_F(OverlayCoordinatorResultTest, TitleStatusAndSettingsReachTheView) {
    settings.overlayTextSize = OverlayTextSize::large;
    coordinator->showResult(u"# Two"_qs, ResultKind::leetCode, u"Two Sum"_qs,
                            LeetCodeAnswerStatus::memoryValidated, mainDisplay, settings,
                            std::nullopt);
    EXPECT_EQ(result()->heading(), u"Two Sum"_qs);
    EXPECT_EQ(result()->statusLabel(), label(LeetCodeAnswerStatus::memoryValidated));
    EXPECT_EQ(result()->answerSize(), pointSize(OverlayTextSize::large));
}

TEST_F(OverlayCoordinatorResultTest, WhatWasCopiedComesFromTheSettingsUnlessItIsSaid) {
    const auto offersCopy = [this](DeliveryMode mode, std::optional<bool> copied) {
        settings.deliveryMode = mode;
        coordinator->showResult(u"a"_qs, ResultKind::text, std::nullopt, std::nullopt, mainDisplay,
                                settings, copied);
        return result()->footer()->offersCopy();
    };
    EXPECT_FALSE(offersCopy(DeliveryMode::both, std::nullopt));
    EXPECT_TRUE(offersCopy(DeliveryMode::screen, std::nullopt));
    EXPECT_TRUE(offersCopy(DeliveryMode::both, false));
    EXPECT_FALSE(offersCopy(DeliveryMode::screen, true));
}

TEST_F(OverlayCoordinatorResultTest, TheStepsKeepTheirOrder) {
    show();
    const auto before = log.lines().size();
    journal.clear();
    show(u"B"_qs, ResultKind::choice);
    EXPECT_EQ(journal.entries(),
              (QStringList{u"unregisterHotKey 53"_qs, u"close 0"_qs, u"open 1"_qs,
                           u"registerHotKey 53"_qs, u"announce behind %1 lines"_qs.arg(before)}))
        << "the line is written last";
    EXPECT_EQ(log.lines().size(), before + 1);
}

TEST_F(OverlayCoordinatorResultTest, TheLineTellsKindDisplaySecondsAndEscape) {
    settings.resultSeconds = 6;
    show(u"B"_qs, ResultKind::choice, sideDisplay);
    EXPECT_EQ(logged(LogLevel::standard, "Showing result overlay; kind=choice display=8 "
                                         "dismissalSeconds=6.000000 escapeHeld=1"),
              1);
    settings.keepUntilDismissed = true;
    settings.dismissWithEscape = false;
    show();
    EXPECT_EQ(logged(LogLevel::standard, "Showing result overlay; kind=text display=7 "
                                         "dismissalSeconds=0.000000 escapeHeld=0"),
              1);
    show(u"code"_qs, ResultKind::leetCode);
    EXPECT_EQ(logged(LogLevel::standard, "Showing result overlay; kind=leetcode display=7 "
                                         "dismissalSeconds=900.000000 escapeHeld=0"),
              1);
}

TEST_F(OverlayCoordinatorResultTest, TheAnswerIsReadOutAndCodeIsNot) {
    show(u"B"_qs, ResultKind::choice);
    show(u"int main() {}"_qs, ResultKind::leetCode);
    showError();
    EXPECT_EQ(spoken(),
              (QStringList{u"Answer: B"_qs,
                           u"LeetCode solution ready. Review the selectable solution on screen"_qs,
                           u"Lumivane error: It failed."_qs}));
}

TEST_F(OverlayCoordinatorResultTest, AnUnknownDisplayLeavesTheEarlierResultAsItIs) {
    show();
    clock.advance(1s);
    const auto model = result();
    journal.clear();
    show(u"another"_qs, ResultKind::leetCode, unknownDisplay);
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(
        logged(LogLevel::error, "Could not show result overlay because the display is unavailable"),
        1);
    EXPECT_EQ(host.up(), Numbers{0});
    EXPECT_EQ(result(), model);
    EXPECT_EQ(remaining(), u"5s"_qs) << "its clock runs on";
    EXPECT_TRUE(isEscapeHeld());
    coordinator->showNotesStatus(u"no"_qs, mainDisplay, settings);
    EXPECT_EQ(host.up().size(), 2U) << "its kind is still text";
}

TEST_F(OverlayCoordinatorResultTest, AClickClosesAResultWhereEscapeWould) {
    show();
    EXPECT_TRUE(host.tap());
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorResultTest, WithEscapeOffAClickOnAnOrdinaryResultDoesNothing) {
    settings.dismissWithEscape = false;
    for (const ResultKind kind : {ResultKind::text, ResultKind::choice, ResultKind::answers}) {
        show(u"a"_qs, kind);
        EXPECT_TRUE(host.tap());
        EXPECT_TRUE(host.dismiss());
        EXPECT_EQ(host.up().size(), 1U);
    }
    clock.advance(6s);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorResultTest, ALeetCodePanelClosesByItsButtonWhateverTheSettingSays) {
    for (const bool escapeCloses : {false, true}) {
        settings.dismissWithEscape = escapeCloses;
        show(u"code"_qs, ResultKind::leetCode);
        EXPECT_TRUE(host.tap());
        EXPECT_EQ(host.up().size(), 1U) << "a click in it is for selecting text";
        EXPECT_TRUE(host.dismiss());
        expectNothingIsLeft();
    }
}

TEST_F(OverlayCoordinatorResultTest, AViewThatClosesLateDoesNotTouchTheNextPanel) {
    show();
    const auto old = result();
    show(u"the next"_qs);
    old->tap();
    old->dismiss();
    old->hover(true);
    EXPECT_EQ(host.up(), Numbers{1});
    clock.advance(6s);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorResultTest, NothingOfAClosedPanelStays) {
    show();
    const std::weak_ptr<QObject> model = host.opened()[0].model;
    host.tap();
    EXPECT_TRUE(model.expired());
    coordinator->clearResult();
    EXPECT_EQ(host.closed(), Numbers{0});
}

TEST_F(OverlayCoordinatorResultTest, ClearingReleasesEscapeBeforeThePanelCloses) {
    show();
    journal.clear();
    coordinator->clearResult();
    EXPECT_EQ(journal.entries(), (QStringList{u"unregisterHotKey 53"_qs, u"close 0"_qs}));
}

TEST_F(OverlayCoordinatorResultTest, TheClockHasStoppedWhenEscapeIsReleased) {
    show();
    std::optional<std::size_t> timersAtClosing;
    host.onClose = [&](std::size_t) { timersAtClosing = clock.timerCount(); };
    coordinator->clearResult();
    EXPECT_EQ(timersAtClosing, 0U);
}

TEST_F(OverlayCoordinatorResultTest, ClearingInsideAClosingIsHarmless) {
    show();
    host.onClose = [this](std::size_t) { coordinator->clearResult(); };
    coordinator->clearResult();
    EXPECT_EQ(host.closed(), Numbers{0});
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorResultTest, ADisplayThatGoesLeavesTheResultUntilItsEnd) {
    show(u"a"_qs, ResultKind::text, sideDisplay);
    displays.setDisplays({{mainDisplay, {0, 0, 1440, 900}, 2, true}});
    clock.advance(5s);
    EXPECT_EQ(host.up(), Numbers{0});
    clock.advance(1s);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorResultTest, AnErrorHasAPanelOfItsOwnInPlaceOfAResult) {
    show();
    journal.clear();
    settings.overlayBackground = OverlayBackgroundStyle::none;
    showError(sideDisplay);
    EXPECT_EQ(host.up(), Numbers{1});
    EXPECT_EQ(host.opened()[1].request,
              OverlayPlacement::error({sideDisplay, sideVisible}, settings));
    EXPECT_TRUE(host.opened()[1].request.hasShadow);
    EXPECT_EQ(host.opened()[1].view, OverlayViews::result());
    EXPECT_TRUE(result()->isError());
    EXPECT_EQ(result()->passage(), u"It failed."_qs);
    EXPECT_TRUE(result()->footer()->offersCopy()) << "an error was never copied";
    EXPECT_EQ(remaining(), u"20s"_qs);
    ASSERT_NE(result()->countdown(), nullptr);
    EXPECT_EQ(logged(LogLevel::standard, "Showing error overlay"), 1);
    EXPECT_EQ(journal.entries(),
              (QStringList{u"unregisterHotKey 53"_qs, u"close 0"_qs, u"open 1"_qs,
                           u"registerHotKey 53"_qs, u"announce behind 1 lines"_qs}));
}

TEST_F(OverlayCoordinatorResultTest, AnErrorFallsBackOnTheMainDisplay) {
    showError(unknownDisplay);
    showError(std::nullopt);
    for (const auto& opened : host.opened()) {
        EXPECT_EQ(opened.request, OverlayPlacement::error({mainDisplay, mainVisible}, settings));
    }
    EXPECT_EQ(host.opened().size(), 2U);
}

TEST_F(OverlayCoordinatorResultTest, WithoutAnyDisplayAnErrorIsLoggedAndNothingChanges) {
    show();
    displays.setDisplays({});
    journal.clear();
    showError(mainDisplay);
    showError(std::nullopt);
    EXPECT_EQ(
        logged(LogLevel::error, "Could not show error overlay because no display is available"), 2);
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(host.up(), Numbers{0});
}

TEST_F(OverlayCoordinatorResultTest, AClickClosesAnErrorWhateverTheSettingSays) {
    settings.dismissWithEscape = false;
    showError();
    EXPECT_TRUE(host.tap());
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorResultTest, NoWordOfTheUserReachesALog) {
    const QString canary = u"canary-7f3a"_qs;
    settings.customPrompt = canary;
    for (const ResultKind kind : allCases<ResultKind>()) {
        coordinator->showResult(canary, kind, canary, LeetCodeAnswerStatus::liveUnvalidated,
                                mainDisplay, settings, std::nullopt);
    }
    coordinator->showNotesStatus(canary, mainDisplay, settings);
    coordinator->showError(canary, mainDisplay, settings);
    coordinator->showNotesStatus(canary, mainDisplay, settings);
    EXPECT_FALSE(log.holds("canary"));
}

} // namespace lumivane::test
