#include "async/Cancelled.h"
#include "domain/LumivaneError.h"
#include "support/AppModelFixture.h"

namespace lumivane::test {

/// What the user starts to find out whether a run can work.
class AppModelDiagnosticsTest : public AppModelTest {
protected:
    void diagnose() {
        model->runDiagnostics();
        drainEvents();
    }

    int passed() const { return logged("lifecycle", LogLevel::standard, "Diagnostics passed"); }
};

TEST_F(AppModelDiagnosticsTest, PassedDiagnosticsAreShownOnThePointersDisplay) {
    make();
    displays.setPointer(Point{1500, 10});
    diagnose();
    EXPECT_EQ(journal.entries(), (QStringList{u"health"_qs, u"showResult 8"_qs}));
    const auto& result = overlays.results.at(0);
    EXPECT_EQ(result.text, u"Diagnostics passed. No screenshot was sent."_qs);
    EXPECT_EQ(result.kind, ResultKind::text);
    EXPECT_EQ(result.title, std::nullopt);
    EXPECT_EQ(result.status, std::nullopt);
    EXPECT_EQ(result.copied, std::nullopt);
    EXPECT_EQ(result.settings, model->settings());
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Diagnostics requested"), 1);
    EXPECT_EQ(passed(), 1);
    EXPECT_EQ(model->lastResult(), std::nullopt);
}

TEST_F(AppModelDiagnosticsTest, WithoutThePermissionTheServiceIsNotAsked) {
    permission.granted = false;
    make();
    diagnose();
    EXPECT_FALSE(journal.holds(u"health"_qs));
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text,
              LumivaneError(LumivaneError::Case::screenRecordingDenied).errorDescription());
    EXPECT_EQ(overlays.errors[0].displayID, std::nullopt);
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Diagnostics requested"), 1);
}

TEST_F(AppModelDiagnosticsTest, AServiceThatIsNotReadyIsAnError) {
    make();
    service.healthScript.answerWith({u"starting"_qs, u"1.2"_qs, std::nullopt});
    diagnose();
    service.healthScript.failWith(LumivaneError(LumivaneError::Case::invalidResponse));
    diagnose();
    ASSERT_EQ(overlays.errors.size(), 2U);
    for (const auto& error : overlays.errors) {
        EXPECT_EQ(error.text,
                  LumivaneError(LumivaneError::Case::serviceUnavailable).errorDescription());
        EXPECT_EQ(error.displayID, std::nullopt);
    }
    EXPECT_TRUE(overlays.results.empty());
    EXPECT_EQ(passed(), 0);
}

TEST_F(AppModelDiagnosticsTest, WithoutADisplayNothingHasPassed) {
    make();
    displays.setPointer(std::nullopt);
    diagnose();
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, u"The display under the pointer is unavailable."_qs);
    EXPECT_EQ(passed(), 0);
}

TEST_F(AppModelDiagnosticsTest, DuringACheckTheLastAnswerCounts) {
    make();
    start();
    service.healthScript.hold();
    model->testService();
    drainEvents();
    journal.clear();
    diagnose();
    EXPECT_EQ(journal.entries(), QStringList{u"showResult 7"_qs});
}

TEST_F(AppModelDiagnosticsTest, AModelThatGoesDuringTheCheckShowsNothing) {
    service.healthScript.hold();
    make();
    diagnose();
    model.reset();
    journal.clear();
    service.healthScript.release(0, {u"ok"_qs, u"1"_qs, std::nullopt});
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(passed(), 0);
}

TEST_F(AppModelDiagnosticsTest, AModelThatGoesDuringAFailingCheckShowsNothing) {
    service.healthScript.hold();
    make();
    diagnose();
    model.reset();
    journal.clear();
    service.healthScript.fail(0, LumivaneError(LumivaneError::Case::serviceUnavailable));
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AppModelDiagnosticsTest, TestingTheServiceIsACheckInAFlowOfItsOwn) {
    make();
    model->testService();
    EXPECT_TRUE(journal.entries().isEmpty()) << "it begins in the next turn";
    drainEvents();
    EXPECT_EQ(journal.entries(), QStringList{u"health"_qs});
    EXPECT_TRUE(model->serviceReady());
    EXPECT_EQ(model->readiness(), ReadinessState::ready);
}

TEST_F(AppModelDiagnosticsTest, ACheckThatRunsIsNotDisturbedByAnother) {
    service.healthScript.hold();
    make();
    std::vector<QString> texts;
    QObject::connect(model.get(), &AppModel::serviceChanged, model.get(),
                     [&] { texts.push_back(model->serviceStatus()); });
    model->testService();
    drainEvents();
    EXPECT_TRUE(model->serviceChecking());
    model->testService();
    model->testService();
    drainEvents();
    EXPECT_EQ(journal.count(u"health"_qs), 1);
    EXPECT_EQ(texts.size(), 1U) << "the second and third changed nothing";
    EXPECT_EQ(log.countStartingWith("Starting service health check"), 1);
    service.healthScript.release(0, {u"ok"_qs, u"3"_qs, std::nullopt});
    drainEvents();
    EXPECT_EQ(texts, (std::vector{u"Contacting the Lumivane analysis service…"_qs,
                                  u"Connected to Lumivane API 3."_qs}));
    EXPECT_FALSE(model->serviceChecking());
    model->testService();
    drainEvents();
    EXPECT_EQ(journal.count(u"health"_qs), 2) << "the next one may run";
}

TEST_F(AppModelDiagnosticsTest, WhoHearsOfTheEndOfACheckFindsItEnded) {
    make();
    bool wasChecking = true;
    bool wasReady = false;
    QObject::connect(model.get(), &AppModel::serviceChanged, model.get(), [&] {
        wasChecking = model->serviceChecking();
        wasReady = model->serviceReady();
    });
    model->testService();
    drainEvents();
    EXPECT_FALSE(wasChecking);
    EXPECT_TRUE(wasReady);
}

TEST_F(AppModelDiagnosticsTest, ACheckThatIsCancelledIsOver) {
    service.healthScript.hold();
    make();
    model->testService();
    drainEvents();
    service.healthScript.cancelPending();
    drainEvents();
    EXPECT_FALSE(model->serviceChecking());
    EXPECT_EQ(log.countStartingWith("Service health check failed"), 0);
    service.healthScript.letGo();
    model->testService();
    drainEvents();
    EXPECT_TRUE(model->serviceReady());
}

TEST_F(AppModelDiagnosticsTest, OnlyOkIsHealthy) {
    make();
    for (const QString& status : {u"OK"_qs, u"ok "_qs, u""_qs, u"starting"_qs}) {
        service.healthScript.answerWith({status, u"1"_qs, true});
        model->testService();
        drainEvents();
        EXPECT_FALSE(model->serviceReady()) << status.toStdString();
        EXPECT_EQ(model->leetCodeServiceReady(), true);
    }
}

TEST_F(AppModelDiagnosticsTest, AMissingMemoryIsToldOnlyToLeetCode) {
    service.healthScript.answerWith({u"ok"_qs, u"2"_qs, false});
    make();
    model->testService();
    drainEvents();
    EXPECT_EQ(model->serviceStatus(), u"Connected to Lumivane API 2."_qs);
    EXPECT_EQ(model->readiness(), ReadinessState::ready);
}

} // namespace lumivane::test
