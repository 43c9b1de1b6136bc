#include "domain/LumivaneError.h"
#include "support/AppModelFixture.h"

namespace lumivane::test {

class AppModelOutcomeTest : public AppModelTest {
protected:
    static LumivaneError error(LumivaneError::Case errorCase) { return {errorCase}; }
};

TEST_F(AppModelOutcomeTest, EveryFailureOfAPortReachesTheUserOnce) {
    capture.script.failWith(error(LumivaneError::Case::displayUnavailable));
    make();
    run();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"The display under the pointer is unavailable."_qs);
    EXPECT_EQ(logged("lifecycle", LogLevel::error, "Operation failed; errorType=LumivaneError"), 1);
    EXPECT_FALSE(overlays.isWorkingUp);
    EXPECT_EQ(model->state(), AnalysisState::idle);
}

TEST_F(AppModelOutcomeTest, AnEncodingFailureFailsTheRun) {
    reducer.script.failWith(error(LumivaneError::Case::captureFailed));
    make();
    run();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"Lumivane could not capture the selected display."_qs);
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(AppModelOutcomeTest, AServersMessageIsShownRedactedAndNeverLogged) {
    service.script.failWith(LumivaneError::server(u"key sk-abc_123 and Bearer xyz.1"_qs));
    make();
    run();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"key [REDACTED] and Bearer [REDACTED]"_qs);
    EXPECT_FALSE(log.holds("xyz"));
    EXPECT_FALSE(log.holds("REDACTED"));
}

TEST_F(AppModelOutcomeTest, ARefusedTokenEndsInTheLoginPanel) {
    service.script.failWith(error(LumivaneError::Case::authenticationRequired));
    make();
    run();
    EXPECT_TRUE(journal.entries().endsWith(u"showAuthenticationRequired 7"_qs));
    EXPECT_TRUE(journal.holds(u"handleUnauthorized"_qs));
    EXPECT_TRUE(overlays.errors.empty());
    EXPECT_EQ(model->state(), AnalysisState::idle);
}

TEST_F(AppModelOutcomeTest, ARefusedTokenWhoseSessionStaysShowsTheCoordinatorsWords) {
    service.script.failWith(error(LumivaneError::Case::authenticationRequired));
    session.canRemoveSession = false;
    session.message = u"It stuck. Bearer abc"_qs;
    make();
    run();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"It stuck. Bearer [REDACTED]"_qs);

    session.message.reset();
    run();
    ASSERT_EQ(overlays.errors.size(), 2U);
    EXPECT_EQ(overlays.errors[1].text, u"Lumivane could not remove the revoked session."_qs);
}

TEST_F(AppModelOutcomeTest, ATakenOverDeviceIsSignedOutAndTheUserIsTold) {
    service.script.failWith(error(LumivaneError::Case::deviceEvicted));
    make();
    run();
    const QStringList tail = journal.entries().mid(journal.entries().indexOf(u"analyze"_qs) + 1);
    EXPECT_EQ(tail.mid(0, 3),
              (QStringList{u"clearWorking"_qs, u"showDeviceEvicted 7 afterUpload"_qs,
                           u"signOutLocallyAfterEviction"_qs}));
    EXPECT_EQ(tail.last(), u"showDeviceEvicted 7 afterUpload"_qs)
        << "the end of the session cleared the panel that tells of it";
    EXPECT_EQ(logged("lifecycle", LogLevel::standard,
                     "Analysis blocked because the account was taken over on another Mac; "
                     "beforeCapture=0"),
              1);
    overlays.openAccount();
    EXPECT_TRUE(journal.holds(u"presentSettings 3"_qs));
}

TEST_F(AppModelOutcomeTest, ASupersededRefusalTouchesNoSession) {
    service.script.ignoreStops();
    service.script.hold();
    make();
    run(mainDisplay);
    run(otherDisplay);
    service.script.fail(0, error(LumivaneError::Case::authenticationRequired));
    drainEvents();
    EXPECT_FALSE(journal.holds(u"handleUnauthorized"_qs));

    run(mainDisplay);
    service.script.fail(1, error(LumivaneError::Case::deviceEvicted));
    drainEvents();
    EXPECT_FALSE(journal.holds(u"signOutLocallyAfterEviction"_qs));

    run(otherDisplay);
    service.script.fail(2, error(LumivaneError::Case::serviceUnavailable));
    drainEvents();
    EXPECT_EQ(
        logged("lifecycle", LogLevel::error, "A superseded analysis failed; not surfacing it"), 1);

    run(mainDisplay);
    service.script.release(3, FakeAnalysisService::response(u"stale"_qs));
    drainEvents();
    EXPECT_TRUE(overlays.results.empty());
    EXPECT_TRUE(overlays.errors.empty());
}

TEST_F(AppModelOutcomeTest, AnEvictionDuringWhichTheUserLoggedInAgainIsNotShownTwice) {
    service.script.failWith(error(LumivaneError::Case::deviceEvicted));
    session.staysSignedIn = true;
    make();
    run();
    EXPECT_EQ(journal.count(u"showDeviceEvicted 7 afterUpload"_qs), 1);
}

TEST_F(AppModelOutcomeTest, AFailedSupersededRunLeavesALogLineAndNothingElse) {
    service.script.ignoreStops();
    service.script.hold();
    make();
    run(mainDisplay);
    run(otherDisplay);
    journal.clear();
    service.script.fail(0, error(LumivaneError::Case::serviceUnavailable));
    drainEvents();
    EXPECT_TRUE(overlays.errors.empty());
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(model->state(), AnalysisState::analyzing);
    EXPECT_EQ(
        logged("lifecycle", LogLevel::error, "A superseded analysis failed; not surfacing it"), 1);
}

TEST_F(AppModelOutcomeTest, ASupersededCaptureFailureIsLoggedAndDropped) {
    reducer.script.ignoreStops();
    reducer.script.hold();
    make();
    run();
    model->authenticationDidClearSession(); // takes the ownership and cancels
    journal.clear();
    reducer.script.fail(0, error(LumivaneError::Case::captureFailed));
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(model->state(), AnalysisState::idle);
    EXPECT_EQ(
        logged("lifecycle", LogLevel::error, "A superseded analysis failed; not surfacing it"), 1);
}

TEST_F(AppModelOutcomeTest, AnErrorAdvancesTheRunSoThatALaterResultIsDropped) {
    service.script.ignoreStops();
    service.script.hold();
    make();
    run();
    triggers.onError(error(LumivaneError::Case::displayUnavailable));
    EXPECT_EQ(model->state(), AnalysisState::idle);
    journal.clear();
    service.script.release(0, FakeAnalysisService::response(u"too late"_qs));
    drainEvents();
    EXPECT_TRUE(overlays.results.empty());
    EXPECT_EQ(model->lastResult(), std::nullopt);
    EXPECT_TRUE(journal.entries().isEmpty()) << "a run that still owned would clear its panel";
}

} // namespace lumivane::test
