#include "domain/LumivaneError.h"
#include "support/AppModelFixture.h"

namespace lumivane::test {

class AppModelLifecycleTest : public AppModelTest {
protected:
    void check() {
        TaskHandle::detach([this](std::stop_token) { return model->refreshServiceStatus(); });
        drainEvents();
    }
};

TEST_F(AppModelLifecycleTest, StartAppliesTriggersWarmsUpAndAsksAfterTheService) {
    make();
    model->start();
    drainEvents();
    EXPECT_EQ(clock.timerCount(), 1U) << "the corner is watched";
    EXPECT_TRUE(journal.holds(u"warmUp"_qs));
    EXPECT_TRUE(model->serviceReady());
    EXPECT_EQ(model->serviceStatus(), u"Connected to Lumivane API 1.2."_qs);
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Starting app model; configured=1 paused=0"),
              1);
}

TEST_F(AppModelLifecycleTest, ARefusedShortcutIsShown) {
    settings.activationMode = ActivationMode::hotkey;
    settings.hotKey.key = u"F5"_qs;
    make();
    model->start();
    drainEvents();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text,
              u"That keyboard shortcut is already used by macOS or another app."_qs);
    EXPECT_EQ(logged("trigger", LogLevel::error, "Trigger configuration failed"), 1);
}

TEST_F(AppModelLifecycleTest, BeforeTheFirstCheckNothingIsKnown) {
    make();
    EXPECT_EQ(model->serviceStatus(), u"Waiting for the automatic connection check."_qs);
    EXPECT_FALSE(model->serviceReady());
    EXPECT_EQ(model->readiness(), ReadinessState::needsService);
}

TEST_F(AppModelLifecycleTest, ACheckUnderWayIsNotStartedAgain) {
    service.healthScript.hold();
    make();
    check();
    check();
    EXPECT_EQ(journal.count(u"health"_qs), 1);
    EXPECT_EQ(model->serviceStatus(), u"Contacting the Lumivane analysis service…"_qs);
    EXPECT_EQ(model->readiness(), ReadinessState::checking);
    service.healthScript.release(0, {u"ok"_qs, u"1.2"_qs, std::nullopt});
    drainEvents();
    EXPECT_FALSE(model->serviceChecking());
    EXPECT_EQ(model->readiness(), ReadinessState::ready);
}

TEST_F(AppModelLifecycleTest, AServiceThatIsNotReadySaysSo) {
    service.healthScript.answerWith({u"starting"_qs, u"1.2"_qs, std::nullopt});
    make();
    check();
    EXPECT_FALSE(model->serviceReady());
    EXPECT_EQ(model->serviceStatus(),
              u"The service responded but is not ready. Try again shortly."_qs);
    EXPECT_EQ(logged("network", LogLevel::standard,
                     "Service health check completed; healthy=0 version=1.2"),
              1);
}

TEST_F(AppModelLifecycleTest, AFailedCheckKeepsWhatIsKnownOfTheMemory) {
    settings.preset = Preset::leetCode;
    service.healthScript.answerWith({u"ok"_qs, u"1.2"_qs, false});
    make();
    check();
    EXPECT_EQ(model->serviceStatus(),
              u"Connected, but LeetCode memory is unavailable. Rebuild the local service."_qs);
    EXPECT_EQ(model->readiness(), ReadinessState::needsService);
    service.healthScript.failWith(LumivaneError(LumivaneError::Case::serviceUnavailable));
    check();
    EXPECT_EQ(model->leetCodeServiceReady(), false);
    EXPECT_FALSE(model->serviceReady());
    EXPECT_EQ(model->serviceStatus(),
              u"Can’t reach the local service. Run make local-up, then try again."_qs);
    EXPECT_EQ(logged("network", LogLevel::error, "Service health check failed"), 1);
}

TEST_F(AppModelLifecycleTest, ASilentServiceLeavesTheMemoryUnknownAgain) {
    settings.preset = Preset::leetCode;
    service.healthScript.answerWith({u"ok"_qs, u"1.2"_qs, false});
    make();
    check();
    service.healthScript.answerWith({u"ok"_qs, u"1.2"_qs, std::nullopt});
    check();
    EXPECT_EQ(model->leetCodeServiceReady(), std::nullopt);
    EXPECT_EQ(model->readiness(), ReadinessState::ready);
}

TEST_F(AppModelLifecycleTest, ReadinessTellsOfAMissingPermissionFirst) {
    permission.granted = false;
    make();
    EXPECT_EQ(model->readiness(), ReadinessState::needsPermission);
}

TEST_F(AppModelLifecycleTest, PausingStopsTheTriggersAndResumingBringsThemBack) {
    make();
    model->start();
    drainEvents();
    model->togglePaused();
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Pause state changed; paused=1"), 1);
    model->togglePaused();
    EXPECT_EQ(clock.timerCount(), 1U);
}

TEST_F(AppModelLifecycleTest, QuittingReleasesTheTriggers) {
    make();
    model->start();
    drainEvents();
    model->terminate();
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(AppModelLifecycleTest, TheEndOfASessionLeavesNothingOfIt) {
    session.token.ignoreStops();
    session.token.hold();
    make();
    run();
    model->authenticationDidClearSession();
    session.token.release(0, SecretText("token of the old session"));
    drainEvents();
    EXPECT_TRUE(service.requests.empty());
    EXPECT_EQ(journal.entries().last(), u"clearAll"_qs);
    EXPECT_EQ(model->state(), AnalysisState::idle);
}

TEST_F(AppModelLifecycleTest, TheEndOfASessionTakesItsStepsInOrder) {
    settings.preset = Preset::leetCode;
    settings.deliveryMode = DeliveryMode::both;
    const auto note = [this](const QString& entry) {
        return [this, entry] { journal.add(entry); };
    };
    session.token.onStop = note(u"stop the token"_qs);
    service.script.onStop = note(u"stop the analysis"_qs);
    notes.script.onStop = note(u"stop the note"_qs);
    make();
    // One run has its answer and saves a note, the next one is under way, a third wants its token.
    notes.script.hold();
    run();
    service.script.hold();
    run();
    session.token.hold();
    run();
    ASSERT_EQ(notes.script.pendingCount(), 1U);
    ASSERT_EQ(service.script.pendingCount(), 1U);
    ASSERT_EQ(session.token.pendingCount(), 1U);
    ASSERT_EQ(model->lastResult(), u"the answer"_qs);
    journal.clear();
    QObject::connect(model.get(), &AppModel::lastAnalysisChanged, model.get(), [this] {
        EXPECT_EQ(model->lastResult(), std::nullopt);
        EXPECT_EQ(model->lastNotesError(), std::nullopt);
        journal.add(u"the result is gone"_qs);
    });
    QObject::connect(model.get(), &AppModel::stateChanged, model.get(), [this] {
        EXPECT_EQ(model->state(), AnalysisState::idle);
        journal.add(u"idle"_qs);
    });
    model->authenticationDidClearSession();
    EXPECT_EQ(
        journal.entries(),
        (QStringList{u"stop the token"_qs, u"stop the analysis"_qs, u"stop the note"_qs,
                     u"clearPasteboard"_qs, u"clearAll"_qs, u"the result is gone"_qs, u"idle"_qs}));
    journal.clear();
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
}

} // namespace lumivane::test
