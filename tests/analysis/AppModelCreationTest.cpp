#include "support/AppModelFixture.h"
#include "support/DesktopError.h"

namespace lumivane::test {

using AppModelCreationTest = AppModelTest;

TEST_F(AppModelCreationTest, SettingsAreLoadedBeforeTheApplicationIsDressed) {
    store.stored.useDarkAppearance = false;
    store.stored.dwellSeconds = 5;
    model = std::make_unique<AppModel>(portsWith(service, overlays));
    EXPECT_EQ(journal.entries(),
              (QStringList{u"load"_qs, u"hasScreenRecording"_qs, u"setAppearance light"_qs}));
    EXPECT_EQ(model->settings(), store.stored) << "as they stand, not normalised";
    EXPECT_EQ(log.texts("settings").back(), "Applied app appearance; dark=0");
    EXPECT_EQ(log.texts("lifecycle").back(), "App model initialized");
    EXPECT_EQ(log.lines().back().text, "App model initialized");
}

TEST_F(AppModelCreationTest, BeforeTheStartNothingRunsAndNothingIsKnown) {
    make();
    EXPECT_EQ(model->state(), AnalysisState::idle);
    EXPECT_EQ(model->lastAnalysis(), std::nullopt);
    EXPECT_EQ(model->lastNotesError(), std::nullopt);
    EXPECT_EQ(model->serviceStatus(), u"Waiting for the automatic connection check."_qs);
    EXPECT_FALSE(model->serviceReady());
    EXPECT_FALSE(model->serviceChecking());
    EXPECT_EQ(model->leetCodeServiceReady(), std::nullopt);
    EXPECT_EQ(model->testingMode(), TestingMode());
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AppModelCreationTest, ThePermissionIsKnownAtOnce) {
    make();
    EXPECT_TRUE(model->screenRecordingGranted());
    EXPECT_TRUE(model->hasScreenRecording());
    permission.granted = false;
    make();
    EXPECT_FALSE(model->screenRecordingGranted());
    EXPECT_FALSE(model->hasScreenRecording());
}

TEST_F(AppModelCreationTest, TheCallbacksOutliveTheModelHarmlessly) {
    make();
    model.reset();
    journal.clear();
    triggers.onTrigger(mainDisplay);
    triggers.onError(DesktopError());
    triggers.onDwellStart();
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AppModelCreationTest, AnErrorOfTheTriggersIsShownWithoutADisplay) {
    make();
    triggers.onError(DesktopError());
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"The desktop refused."_qs);
    EXPECT_EQ(overlays.errors[0].displayID, std::nullopt);
}

TEST_F(AppModelCreationTest, TheDisplayStateFollowsPausePermissionAndRun) {
    service.script.hold();
    make();
    EXPECT_EQ(model->displayState(), LumivaneDisplayState::resting);
    run();
    EXPECT_EQ(model->displayState(), LumivaneDisplayState::capturing);
    model->togglePaused();
    EXPECT_EQ(model->displayState(), LumivaneDisplayState::paused);
    model->togglePaused();
    permission.granted = false;
    model->refreshSystemState();
    EXPECT_EQ(model->displayState(), LumivaneDisplayState::paused);
}

} // namespace lumivane::test
