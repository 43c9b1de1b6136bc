#include "ui/StatusItemFixture.h"

#include <QSignalBlocker>

namespace lumivane::test {

using namespace std::chrono_literals;

using LumivaneStatusItemControllerTest = StatusItemTest;

// The menu

TEST_F(LumivaneStatusItemControllerTest, MenuStandsInItsOrder) {
    makeController();
    bar.secondaryClick();
    EXPECT_EQ(titles(bar.icon().openedMenu),
              (QStringList{u"Analyze Current Display"_qs, u"Pause Lumivane"_qs, u""_qs,
                           u"Preset: Screen Summary"_qs, u"Activation: Bottom Right Corner"_qs,
                           u""_qs, u"Settings…"_qs, u"Show Test Overlay"_qs, u"Copy Last Result"_qs,
                           u"Show Last Result Again"_qs, u"Run Diagnostics"_qs, u""_qs,
                           u"Quit Lumivane"_qs}));
}

TEST_F(LumivaneStatusItemControllerTest, EachLineDoesWhatItSays) {
    makeController();
    run();
    bar.secondaryClick();
    for (const auto& title :
         {u"Analyze Current Display"_qs, u"Pause Lumivane"_qs, u"Settings…"_qs,
          u"Show Test Overlay"_qs, u"Copy Last Result"_qs, u"Show Last Result Again"_qs,
          u"Run Diagnostics"_qs, u"Quit Lumivane"_qs}) {
        bar.choose(title);
    }
    EXPECT_EQ(chosen, (QStringList{u"analyze"_qs, u"pause"_qs, u"settings"_qs, u"test"_qs,
                                   u"copy"_qs, u"again"_qs, u"diagnostics"_qs, u"quit"_qs}));
}

TEST_F(LumivaneStatusItemControllerTest, LinesThatInformAreNeverEnabledAndDoNothing) {
    makeController();
    for (const int line : {3, 4}) {
        const StatusMenuItem& item = bar.icon().offeredMenu.at(line);
        EXPECT_FALSE(item.enabled) << item.title.toStdString();
        EXPECT_FALSE(item.action) << item.title.toStdString();
    }
}

TEST_F(LumivaneStatusItemControllerTest, SeparatorsHaveNoAction) {
    makeController();
    for (const int line : {2, 5, 11}) {
        EXPECT_TRUE(bar.icon().offeredMenu.at(line).title.isEmpty());
        EXPECT_FALSE(bar.icon().offeredMenu.at(line).action);
    }
}

TEST_F(LumivaneStatusItemControllerTest, WithoutAResultBothLinesOfItAreGrey) {
    makeController();
    EXPECT_FALSE(isEnabled(u"Copy Last Result"_qs));
    EXPECT_FALSE(isEnabled(u"Show Last Result Again"_qs));
    run();
    EXPECT_TRUE(isEnabled(u"Copy Last Result"_qs));
    EXPECT_TRUE(isEnabled(u"Show Last Result Again"_qs));
    model->authenticationDidClearSession();
    EXPECT_FALSE(isEnabled(u"Copy Last Result"_qs));
    EXPECT_FALSE(isEnabled(u"Show Last Result Again"_qs));
}

TEST_F(LumivaneStatusItemControllerTest, AllOtherLinesAreAlwaysEnabled) {
    settings.configured = false;
    settings.paused = true;
    makeController();
    EXPECT_FALSE(isEnabled(u"Analyze Current Display"_qs));
    for (const auto& title : {u"Resume Lumivane"_qs, u"Settings…"_qs, u"Show Test Overlay"_qs,
                              u"Run Diagnostics"_qs, u"Quit Lumivane"_qs}) {
        EXPECT_TRUE(isEnabled(title)) << title.toStdString();
    }
}

TEST_F(LumivaneStatusItemControllerTest, ATrayThatKeepsACopyOfTheMenuHearsOfEachChange) {
    makeController();
    model->togglePaused();
    EXPECT_EQ(bar.icon().offeredMenu.at(1).title, u"Resume Lumivane"_qs);
    EXPECT_FALSE(isEnabled(u"Analyze Current Display"_qs));
    change([](AppSettings& settings) {
        settings.preset = Preset::leetCode;
        settings.activationMode = ActivationMode::hotkey;
    });
    EXPECT_EQ(bar.icon().offeredMenu.at(3).title, u"Preset: LeetCode"_qs);
    EXPECT_EQ(bar.icon().offeredMenu.at(4).title, u"Activation: cmd+alt+E"_qs);
}

TEST_F(LumivaneStatusItemControllerTest, MenuIsAskedForAsItOpens) {
    makeController();
    AppSettings changed = model->settings();
    changed.paused = true;
    {
        const QSignalBlocker nobodyTellsOfThisOne(*model);
        model->updateSettings(changed);
    }
    bar.secondaryClick();
    EXPECT_EQ(bar.icon().openedMenu.at(1).title, u"Resume Lumivane"_qs);
}

// Clicks

TEST_F(LumivaneStatusItemControllerTest, APrimaryClickTogglesThePopoverAtTheIcon) {
    makeController();
    bar.setGeometry({900, 4, 22, 22});
    bar.click();
    EXPECT_TRUE(popover.isShown());
    EXPECT_EQ(popover.anchors, (std::vector<QRect>{{900, 4, 22, 22}}));
    EXPECT_EQ(bar.icon().menuOpenings, 0);
    bar.click();
    EXPECT_FALSE(popover.isShown());
}

TEST_F(LumivaneStatusItemControllerTest, AControlClickOpensTheMenuAndNotThePopover) {
    makeController();
    bar.click(ClickModifier::control);
    EXPECT_EQ(bar.icon().menuOpenings, 1);
    EXPECT_TRUE(popover.anchors.empty());
    // The next primary click still reaches the popover.
    bar.click();
    EXPECT_TRUE(popover.isShown());
}

TEST_F(LumivaneStatusItemControllerTest, TheMenuClosesThePopoverHoweverItOpens) {
    makeController();
    bar.click();
    bar.secondaryClick();
    EXPECT_FALSE(popover.isShown());
    bar.click();
    bar.click(ClickModifier::control);
    EXPECT_FALSE(popover.isShown());
    bar.click();
    controller->showSecondaryMenu();
    EXPECT_FALSE(popover.isShown());
    EXPECT_EQ(bar.icon().menuOpenings, 3);
}

// Hiding

TEST_F(LumivaneStatusItemControllerTest, AStartWithTheIconHiddenShowsNothingAtAll) {
    settings.showInMenuBar = false;
    makeController();
    EXPECT_EQ(bar.iconsMade(), 0);
    EXPECT_EQ(controller->displayedState(), std::nullopt);
    startCapturing();
    controller->showSecondaryMenu();
    controller->screenRecordingChanged();
    clock.advance(1s);
    EXPECT_EQ(bar.iconsMade(), 0);
}

TEST_F(LumivaneStatusItemControllerTest, HidingTakesTheIconAwayAndClosesThePopover) {
    makeController();
    bar.click();
    change([](AppSettings& settings) { settings.showInMenuBar = false; });
    EXPECT_FALSE(bar.hasIcon());
    EXPECT_FALSE(popover.isShown());
    EXPECT_EQ(controller->displayedState(), std::nullopt);
    // The rest goes on working.
    run();
    EXPECT_EQ(model->lastResult(), u"the answer"_qs);
    EXPECT_FALSE(bar.hasIcon());
}

TEST_F(LumivaneStatusItemControllerTest, HiddenAndShownAgainTheIconIsMadeAnewOnceAndDrawn) {
    makeController();
    model->togglePaused();
    change([](AppSettings& settings) { settings.showInMenuBar = false; });
    change([](AppSettings& settings) { settings.showInMenuBar = true; });
    EXPECT_EQ(bar.iconsMade(), 2);
    ASSERT_TRUE(bar.hasIcon());
    EXPECT_EQ(pictureCount(), 1);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::paused, 5.8));
    EXPECT_EQ(toolTip(), u"Lumivane — Paused"_qs);
    EXPECT_EQ(bar.icon().offeredMenu.at(1).title, u"Resume Lumivane"_qs);
    bar.click(ClickModifier::control);
    EXPECT_EQ(bar.icon().menuOpenings, 1);
    bar.click();
    EXPECT_EQ(popover.anchors.size(), 1U);
}

TEST_F(LumivaneStatusItemControllerTest, OneIconLastsThroughAllChangesOfTheModel) {
    makeController();
    startCapturing();
    endRun();
    model->togglePaused();
    model->togglePaused();
    controller->screenRecordingChanged();
    EXPECT_EQ(bar.iconsMade(), 1);
}

TEST_F(LumivaneStatusItemControllerTest, HidingInTheMiddleEndsTheAnimation) {
    makeController();
    startCapturing();
    change([](AppSettings& settings) { settings.showInMenuBar = false; });
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(1s);
    EXPECT_FALSE(bar.hasIcon());
}

TEST_F(LumivaneStatusItemControllerTest, AnIconShownDuringARunOpensItsPupil) {
    settings.showInMenuBar = false;
    makeController();
    startCapturing();
    change([](AppSettings& settings) { settings.showInMenuBar = true; });
    clock.advance(1s);
    EXPECT_EQ(pictureCount(), 11);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, 9));
}

// The end

TEST_F(LumivaneStatusItemControllerTest, InvalidatingTakesAllAwayAndHearsNoMore) {
    makeController();
    startCapturing();
    bar.click();
    controller->invalidate();
    EXPECT_FALSE(bar.hasIcon());
    EXPECT_FALSE(popover.isShown());
    drainEvents();
    EXPECT_EQ(clock.timerCount(), 0U);
    model->togglePaused();
    change([](AppSettings& settings) { settings.showInMenuBar = true; });
    clock.advance(1s);
    EXPECT_FALSE(bar.hasIcon());
    controller->invalidate();
    EXPECT_EQ(bar.iconsMade(), 1);
}

TEST_F(LumivaneStatusItemControllerTest, InvalidatedItIgnoresThePermissionToo) {
    makeController();
    controller->invalidate();
    controller->screenRecordingChanged();
    EXPECT_FALSE(bar.hasIcon());
}

TEST_F(LumivaneStatusItemControllerTest, DestroyedInTheMiddleItLeavesNothingBehind) {
    makeController();
    startCapturing();
    controller.reset();
    EXPECT_FALSE(bar.hasIcon());
    clock.advance(1s);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(LumivaneStatusItemControllerTest, DestroyedBeforeTheFirstFrameItDrawsNone) {
    makeController();
    capture.script.hold();
    model->analyze(mainDisplay);
    while (model->state() != AnalysisState::capturing) {
        QCoreApplication::processEvents();
    }
    controller.reset();
    drainEvents();
    EXPECT_EQ(pictureCount(), 1);
}

TEST_F(LumivaneStatusItemControllerTest, AMenuLineMayEndIt) {
    makeController();
    bar.secondaryClick();
    const auto items = bar.icon().openedMenu;
    controller.reset();
    items.back().action();
    EXPECT_EQ(chosen, QStringList{u"quit"_qs});
}

} // namespace lumivane::test
