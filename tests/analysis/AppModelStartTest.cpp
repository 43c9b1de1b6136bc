#include "support/AppModelFixture.h"

namespace lumivane::test {

using namespace std::chrono_literals;

using AppModelStartTest = AppModelTest;

TEST_F(AppModelStartTest, EverythingHappensInOrder) {
    settings.activationMode = ActivationMode::hotkey;
    make();
    start();
    // The triggers are live before the first flow has begun.
    EXPECT_EQ(journal.entries(),
              (QStringList{u"registerHotKey 14"_qs, u"restore"_qs, u"warmUp"_qs, u"health"_qs}));
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(1h);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs)) << "the setup is complete";
}

TEST_F(AppModelStartTest, ALateSessionHoldsNothingUp) {
    session.restored.hold();
    make();
    start();
    EXPECT_TRUE(model->serviceReady());
    EXPECT_EQ(clock.timerCount(), 1U) << "the corner is watched";
    session.restored.release(0, true);
    drainEvents();
}

TEST_F(AppModelStartTest, AFirstRunShowsTheWizardAfterHalfASecond) {
    settings.configured = false;
    make();
    start();
    EXPECT_EQ(
        logged("lifecycle", LogLevel::standard, "First run detected; scheduling setup wizard"), 1);
    clock.advance(499ms);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs));
    clock.advance(1ms);
    EXPECT_EQ(journal.count(u"presentSettings 0"_qs), 1);
    EXPECT_EQ(log.countStartingWith("Opening Lumivane configuration"), 0);
    clock.advance(1h);
    EXPECT_EQ(journal.count(u"presentSettings 0"_qs), 1);
}

TEST_F(AppModelStartTest, AFirstRunStillRestoresWarmsUpAndAsksAfterTheService) {
    settings.configured = false;
    make();
    start();
    EXPECT_EQ(journal.entries(), (QStringList{u"restore"_qs, u"warmUp"_qs, u"health"_qs}));
}

TEST_F(AppModelStartTest, AModelThatGoesShowsNoWizard) {
    settings.configured = false;
    make();
    start();
    model.reset();
    drainEvents();
    EXPECT_EQ(clock.timerCount(), 0U) << "nobody waits any longer";
    clock.advance(1s);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs));
}

TEST_F(AppModelStartTest, AModelThatGoesBeforeItsFlowsBeginShowsNoWizard) {
    settings.configured = false;
    make();
    model->start();
    model.reset();
    drainEvents();
    clock.advance(1s);
    EXPECT_EQ(journal.entries(), (QStringList{u"restore"_qs, u"warmUp"_qs}))
        << "what stands on the ports alone";
}

TEST_F(AppModelStartTest, QuittingCallsTheWizardOff) {
    settings.configured = false;
    make();
    start();
    model->terminate();
    clock.advance(1s);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs));
}

TEST_F(AppModelStartTest, PausedTheProgramStartsWithoutTriggers) {
    settings.paused = true;
    make();
    start();
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_TRUE(model->serviceReady());
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Starting app model; configured=1 paused=1"),
              1);
}

TEST_F(AppModelStartTest, OpeningTheConfigurationIsLogged) {
    make();
    model->presentSettings(SettingsDestination::output);
    EXPECT_EQ(journal.entries(), QStringList{u"presentSettings 2"_qs});
    EXPECT_EQ(logged("settings", LogLevel::info, "Opening Lumivane configuration"), 1);
}

TEST_F(AppModelStartTest, QuittingHappensInOrder) {
    settings.activationMode = ActivationMode::hotkey;
    make();
    start();
    run();
    service.script.hold();
    run();
    journal.clear();
    model->terminate();
    EXPECT_EQ(journal.entries(),
              (QStringList{u"clearPasteboard"_qs, u"unregisterHotKey 14"_qs,
                           u"invalidateOverlays"_qs, u"terminateApplication"_qs}));
    EXPECT_EQ(hotKeys.handlerCount(), 0U);
    drainEvents();
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Analysis cancelled"), 1);
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Quit requested"), 1);
}

TEST_F(AppModelStartTest, QuittingLeavesWhatTheUserCopiedSince) {
    make();
    run();
    pasteboard.copyElsewhere(u"mine"_qs);
    model->terminate();
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::string), u"mine"_qs);
}

TEST_F(AppModelStartTest, ATokenThatArrivesAfterQuittingStartsNoRun) {
    session.token.ignoreStops();
    session.token.hold();
    make();
    run();
    model->terminate();
    session.token.release(0, SecretText("late"));
    drainEvents();
    EXPECT_FALSE(journal.holds(u"capture 7"_qs));
}

} // namespace lumivane::test
