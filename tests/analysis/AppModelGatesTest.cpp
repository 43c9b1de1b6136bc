#include "accounts/AuthenticationError.h"
#include "support/AppModelFixture.h"

namespace lumivane::test {

using AppModelGatesTest = AppModelTest;

TEST_F(AppModelGatesTest, IncompleteSetupLogsAndShowsNothing) {
    settings.configured = false;
    settings.paused = true;
    make();
    run();
    EXPECT_EQ(logged("lifecycle", LogLevel::error, "Analysis ignored because setup is incomplete"),
              1);
    EXPECT_TRUE(journal.entries().isEmpty()) << journal.entries().join(';').toStdString();
}

TEST_F(AppModelGatesTest, PausedLogsAndShowsNothing) {
    settings.paused = true;
    make();
    run();
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Analysis ignored because Lumivane is paused"),
              1);
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AppModelGatesTest, SignedOutShowsTheLoginPanelAndFetchesNoToken) {
    session.signedIn = false;
    make();
    run();
    EXPECT_EQ(journal.entries(), QStringList{u"showAuthenticationRequired 7"_qs});
    EXPECT_EQ(logged("lifecycle", LogLevel::standard,
                     "Analysis blocked because authentication is required"),
              1);
    overlays.login();
    EXPECT_TRUE(journal.holds(u"presentSettings 3"_qs));
}

TEST_F(AppModelGatesTest, TheTokenIsValidForAMinute) {
    make();
    run();
    EXPECT_EQ(journal.entries().first(), u"token 60"_qs);
}

TEST_F(AppModelGatesTest, AnExpiredSessionShowsTheLoginPanel) {
    session.token.failWith(AuthenticationError(AuthenticationError::Case::expiredSession));
    make();
    run();
    EXPECT_TRUE(journal.holds(u"showAuthenticationRequired 7"_qs));
    EXPECT_TRUE(overlays.errors.empty());
}

TEST_F(AppModelGatesTest, AnyOtherTokenFailureShowsItsWords) {
    session.token.failWith(AuthenticationError(AuthenticationError::Case::unavailable));
    make();
    run();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"Login is temporarily unavailable. Please try again."_qs);
    EXPECT_EQ(overlays.errors[0].displayID, mainDisplay);
    EXPECT_EQ(
        logged("lifecycle", LogLevel::error, "Operation failed; errorType=AuthenticationError"), 1);
}

TEST_F(AppModelGatesTest, ATokenFailureOutsideTheProgramsOwnTypesShowsItsDescription) {
    session.token.failWith(std::runtime_error("Bearer abc.def broke"));
    make();
    run();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"Bearer [REDACTED] broke"_qs);
    EXPECT_FALSE(log.holds("broke"));
}

TEST_F(AppModelGatesTest, ASecondTriggerReplacesTheTokenFetchOfTheFirst) {
    session.token.ignoreStops();
    session.token.hold();
    make();
    run(mainDisplay);
    run(otherDisplay);
    session.token.release(0, SecretText("first"));
    session.token.release(1, SecretText("second"));
    drainEvents();
    EXPECT_EQ(onlyRequest().accessToken, SecretText("second"));
    EXPECT_TRUE(journal.holds(u"showWorking 8"_qs));
    EXPECT_FALSE(journal.holds(u"showWorking 7"_qs));
}

TEST_F(AppModelGatesTest, ATokenFetchLeavesARunningRunAlone) {
    service.script.hold();
    make();
    run(mainDisplay);
    session.token.hold();
    run(otherDisplay);
    EXPECT_EQ(model->state(), AnalysisState::analyzing);
    EXPECT_TRUE(overlays.isWorkingUp);
    service.script.release(0, FakeAnalysisService::response(u"first"_qs));
    drainEvents();
    EXPECT_EQ(model->lastResult(), u"first"_qs);
}

TEST_F(AppModelGatesTest, AFailedLoginGateLeavesARunningRunAlone) {
    service.script.hold();
    make();
    run();
    session.signedIn = false;
    run(otherDisplay);
    session.signedIn = true;
    session.token.failWith(AuthenticationError(AuthenticationError::Case::expiredSession));
    run(otherDisplay);
    EXPECT_EQ(journal.count(u"showAuthenticationRequired 8"_qs), 2);
    EXPECT_EQ(model->state(), AnalysisState::analyzing);
    service.script.release(0, FakeAnalysisService::response(u"still delivered"_qs));
    drainEvents();
    EXPECT_EQ(model->lastResult(), u"still delivered"_qs);
}

TEST_F(AppModelGatesTest, AGateThatShowsAnErrorEndsARunningRun) {
    settings.preset = Preset::leetCode;
    service.script.hold();
    make();
    run();
    service.healthScript.answerWith({u"ok"_qs, u"1"_qs, false});
    TaskHandle::detach([this](std::stop_token) { return model->refreshServiceStatus(); });
    drainEvents();
    run(otherDisplay);
    EXPECT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(model->state(), AnalysisState::idle);
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Analysis cancelled"), 1);
}

TEST_F(AppModelGatesTest, PausingWhileTheTokenIsFetchedStopsTheRun) {
    session.token.hold();
    make();
    run();
    model->togglePaused();
    session.token.release(0, SecretText("token"));
    drainEvents();
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Analysis ignored because Lumivane is paused"),
              1);
    EXPECT_TRUE(service.requests.empty());
    EXPECT_EQ(model->state(), AnalysisState::idle);
}

TEST_F(AppModelGatesTest, ATriggerWhilePausedLeavesARunningRunAlone) {
    service.script.hold();
    make();
    run();
    model->togglePaused();
    run(otherDisplay);
    EXPECT_EQ(model->state(), AnalysisState::analyzing);
    service.script.release(0, FakeAnalysisService::response(u"still delivered"_qs));
    drainEvents();
    EXPECT_EQ(model->lastResult(), u"still delivered"_qs);
}

TEST_F(AppModelGatesTest, PausingWhileARunIsInProgressDoesNotStopIt) {
    settings.deliveryMode = DeliveryMode::both;
    capture.script.hold();
    service.script.hold();
    make();
    run();
    ASSERT_EQ(model->state(), AnalysisState::capturing);
    model->togglePaused();
    EXPECT_EQ(model->state(), AnalysisState::capturing);
    capture.script.release(0, FakeCapture::frame());
    drainEvents();
    ASSERT_EQ(model->state(), AnalysisState::analyzing);
    journal.clear();
    service.script.release(0, FakeAnalysisService::response(u"delivered"_qs));
    drainEvents();
    EXPECT_TRUE(model->settings().paused);
    EXPECT_EQ(model->state(), AnalysisState::idle);
    EXPECT_EQ(model->lastResult(), u"delivered"_qs);
    ASSERT_EQ(overlays.results.size(), 1U);
    EXPECT_EQ(overlays.results[0].text, u"delivered"_qs);
    EXPECT_EQ(overlays.results[0].displayID, mainDisplay);
    EXPECT_EQ(pasteboard.contents.at(PasteboardType::string), u"delivered"_qs);
    EXPECT_TRUE(journal.holds(u"showResult 7"_qs));
    EXPECT_TRUE(overlays.errors.empty());
}

TEST_F(AppModelGatesTest, AnEmptyCustomPromptShowsItsWords) {
    settings.preset = Preset::custom;
    settings.customPrompt = u" \n\t"_qs;
    make();
    run();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"Enter a custom prompt."_qs);
    EXPECT_FALSE(journal.holds(u"capture 7"_qs));
}

TEST_F(AppModelGatesTest, LeetCodeStopsOnlyAtAKnownMissingMemory) {
    settings.preset = Preset::leetCode;
    make();
    EXPECT_EQ(model->leetCodeServiceReady(), std::nullopt);
    run();
    EXPECT_EQ(service.requests.size(), 1U) << "an unknown memory lets the run through";

    service.healthScript.answerWith({u"ok"_qs, u"1"_qs, false});
    TaskHandle::detach([this](std::stop_token) { return model->refreshServiceStatus(); });
    drainEvents();
    journal.clear();
    run();
    EXPECT_EQ(service.requests.size(), 1U);
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_TRUE(overlays.errors[0].text.startsWith(u"LeetCode is not available right now."_qs));
    EXPECT_EQ(logged("lifecycle", LogLevel::error,
                     "LeetCode analysis ignored because the service reported no LeetCode memory"),
              1);
    EXPECT_EQ(journal.count(u"health"_qs), 1) << "the memory is asked after again";
}

TEST_F(AppModelGatesTest, TheManualTriggerTakesTheDisplayUnderThePointer) {
    make();
    displays.setPointer(Point{1500, 10});
    model->analyzeCurrentDisplay();
    drainEvents();
    EXPECT_TRUE(journal.holds(u"capture 8"_qs));
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Manual analysis requested"), 1);
}

TEST_F(AppModelGatesTest, TheManualTriggerOutsideEveryDisplayIsAnError) {
    make();
    displays.setPointer(Point{-5, 10});
    model->analyzeCurrentDisplay();
    drainEvents();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"The display under the pointer is unavailable."_qs);
    EXPECT_EQ(overlays.errors[0].displayID, std::nullopt);
    EXPECT_EQ(logged("capture", LogLevel::error,
                     "Manual analysis could not resolve the display under the pointer"),
              1);
}

TEST_F(AppModelGatesTest, ATriggerOfTheControllerStartsARun) {
    make();
    triggers.onTrigger(otherDisplay);
    drainEvents();
    EXPECT_TRUE(journal.holds(u"capture 8"_qs));
}

TEST_F(AppModelGatesTest, ADwellWarmsTheCapturePath) {
    make();
    triggers.onDwellStart();
    drainEvents();
    EXPECT_EQ(journal.entries(), QStringList{u"warmUp"_qs});
}

} // namespace lumivane::test
