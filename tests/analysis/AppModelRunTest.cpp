#include "domain/LumivaneError.h"
#include "support/AppModelFixture.h"

namespace lumivane::test {

using namespace std::chrono_literals;

class AppModelRunTest : public AppModelTest {
protected:
    static LumivaneError error(LumivaneError::Case errorCase) { return {errorCase}; }
};

TEST_F(AppModelRunTest, TheWholeRoadInOrder) {
    settings.soundWhenReady = true;
    settings.notifyOnCopy = true;
    make();
    run();
    const QStringList expected{u"token 60"_qs,  u"clearAll"_qs,     u"showWorking 7"_qs,
                               u"capture 7"_qs, u"extract"_qs,      u"encode 1024 0.7"_qs,
                               u"analyze"_qs,   u"clearWorking"_qs, u"clearPasteboard"_qs,
                               u"setString"_qs, u"setTransient"_qs, u"notifyCopied"_qs,
                               u"beep"_qs,      u"showResult 7"_qs};
    EXPECT_EQ(journal.entries(), expected) << journal.entries().join(u"; "_qs).toStdString();
    EXPECT_EQ(model->state(), AnalysisState::idle);
    EXPECT_EQ(capture.crops, std::vector{ScreenCrop::visibleFrame});
    EXPECT_EQ(extractor.scales, std::vector{2.0});
    EXPECT_EQ(onlyRequest().accessToken, SecretText("token-1"));
    EXPECT_EQ(log.texts("timing").back(),
              "Analysis timing; captureMS=0 ocrMS=77 encodeMS=0 networkMS=0 totalMS=0 "
              "inputMode=text screenTextCharsBucket=0 imagePixelWidth=0 imagePixelHeight=0 "
              "ocrFallback=0 sloExceeded=0");
    EXPECT_EQ(log.intervals(), (std::vector<std::string>{
                                   "begin capture", "end capture", "begin ocr", "end ocr",
                                   "begin encode", "end encode", "begin network", "end network"}));
}

TEST_F(AppModelRunTest, LogLinesOfARunStandAsWritten) {
    make();
    run();
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Analysis started; display=7 preset=summary"),
              1);
    EXPECT_EQ(logged("capture", LogLevel::standard,
                     "Capture completed; mode=hyperPrivate pixelWidth=1024 pixelHeight=640 "
                     "jpegBytesBucket=8192 screenTextCharsBucket=0 sendsImage=0 sendsText=1 "
                     "ocrFallback=0 captureMS=0 ocrMS=77 encodeMS=0"),
              1);
    EXPECT_EQ(logged("network", LogLevel::standard, "Sending analysis request"), 1);
    EXPECT_EQ(logged("network", LogLevel::standard,
                     "Analysis response received; requestID=req-1 kind=text"),
              1);
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Analysis completed"), 1);
}

TEST_F(AppModelRunTest, StatesFollowTheRun) {
    make();
    std::vector<AnalysisState> states;
    QObject::connect(model.get(), &AppModel::stateChanged, model.get(),
                     [&] { states.push_back(model->state()); });
    run();
    EXPECT_EQ(states, (std::vector{AnalysisState::capturing, AnalysisState::analyzing,
                                   AnalysisState::showingResult, AnalysisState::idle}));
}

TEST_F(AppModelRunTest, ReadingAndEncodingOverlap) {
    extractor.script.hold();
    reducer.script.hold();
    make();
    run();
    EXPECT_EQ(extractor.script.pendingCount(), 1U);
    EXPECT_EQ(reducer.script.pendingCount(), 1U);
}

TEST_F(AppModelRunTest, TimingsTellWhereTheTimeWent) {
    capture.script.hold();
    reducer.script.hold();
    service.script.hold();
    make();
    run();
    clock.advance(30ms);
    capture.script.release(0, FakeCapture::frame());
    drainEvents();
    clock.advance(12ms);
    reducer.script.release(0, {QByteArray("jpeg"), 10, 5});
    drainEvents();
    const auto timings = onlyRequest().payload.timings;
    ASSERT_TRUE(timings);
    EXPECT_EQ(timings->captureMS, 30);
    EXPECT_EQ(timings->encodeMS, 12);
    EXPECT_EQ(timings->ocrMS, 77);
    EXPECT_EQ(timings->clientMS, 42);
    clock.advance(100ms);
    service.script.release(0, FakeAnalysisService::response(u"x"_qs));
    drainEvents();
    EXPECT_EQ(log.countStartingWith("Analysis timing; captureMS=30 ocrMS=77 encodeMS=12 "
                                    "networkMS=100 totalMS=142 "),
              1);
}

TEST_F(AppModelRunTest, FortyCharactersAtTheLeastConfidenceSendTheTextAlone) {
    extractor.script.answerWith(FakeExtractor::text(QString(40, u'a'), 0.45));
    make();
    run();
    EXPECT_EQ(onlyRequest().payload.screenText, QString(40, u'a'));
    EXPECT_FALSE(onlyRequest().payload.jpeg);
    EXPECT_EQ(onlyRequest().payload.timings->imagePixelWidth, 0);
    EXPECT_FALSE(onlyRequest().payload.timings->ocrFallback);
}

TEST_F(AppModelRunTest, ThirtyNineCharactersSendTheImage) {
    extractor.script.answerWith(FakeExtractor::text(QString(39, u'a'), 0.9));
    make();
    run();
    EXPECT_FALSE(onlyRequest().payload.screenText);
    EXPECT_EQ(onlyRequest().payload.jpeg, QByteArray(9000, 'j'));
    EXPECT_EQ(onlyRequest().payload.timings->imagePixelWidth, 1024);
    EXPECT_EQ(onlyRequest().payload.timings->imagePixelHeight, 640);
    EXPECT_TRUE(onlyRequest().payload.timings->ocrFallback);
}

TEST_F(AppModelRunTest, HyperAccurateReadsNoText) {
    settings.analysisMode = AnalysisMode::hyperAccurate;
    make();
    run();
    EXPECT_FALSE(journal.holds(u"extract"_qs));
    EXPECT_TRUE(onlyRequest().payload.jpeg);
    EXPECT_FALSE(onlyRequest().payload.screenText);
    EXPECT_EQ(onlyRequest().payload.timings->ocrMS, 0);
    EXPECT_FALSE(onlyRequest().payload.timings->ocrFallback);
}

TEST_F(AppModelRunTest, FailedRecognitionFallsBackToTheImage) {
    extractor.script.failWith(error(LumivaneError::Case::captureFailed));
    make();
    run();
    EXPECT_TRUE(onlyRequest().payload.jpeg);
    EXPECT_TRUE(onlyRequest().payload.timings->ocrFallback);
    EXPECT_EQ(logged("capture", LogLevel::error,
                     "Screen text extraction failed; continuing with the screenshot only"),
              1);
    EXPECT_TRUE(overlays.errors.empty());
    EXPECT_EQ(overlays.results.size(), 1U);
}

TEST_F(AppModelRunTest, LeetCodeSendsBothInEitherMode) {
    settings.preset = Preset::leetCode;
    settings.saveLeetCodeNotes = false;
    for (const AnalysisMode mode : allCases<AnalysisMode>()) {
        settings.analysisMode = mode;
        service.requests.clear();
        extractor.script.answerWith(FakeExtractor::text(u"two sum"_qs, 0.3));
        make();
        run();
        EXPECT_EQ(onlyRequest().payload.screenText, u"two sum"_qs);
        EXPECT_TRUE(onlyRequest().payload.jpeg);
        EXPECT_FALSE(onlyRequest().payload.timings->ocrFallback);
    }
}

TEST_F(AppModelRunTest, LeetCodeWithBlankTextStopsBeforeAnyRequest) {
    settings.preset = Preset::leetCode;
    extractor.script.answerWith(FakeExtractor::text(u" \n \t"_qs, 0.9));
    make();
    run();
    EXPECT_TRUE(service.requests.empty());
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_TRUE(overlays.errors[0].text.startsWith(u"Lumivane could not read any text"_qs));
    EXPECT_EQ(logged("capture", LogLevel::error,
                     "LeetCode capture produced no readable screen text; the screenshot was not "
                     "sent"),
              1);
    EXPECT_EQ(model->state(), AnalysisState::idle);
}

TEST_F(AppModelRunTest, LeetCodeWithFailedRecognitionStopsToo) {
    settings.preset = Preset::leetCode;
    extractor.script.failWith(error(LumivaneError::Case::captureFailed));
    make();
    run();
    EXPECT_TRUE(service.requests.empty());
    EXPECT_EQ(overlays.errors.size(), 1U);
}

TEST_F(AppModelRunTest, ARunWorksOnTheSettingsOfItsStart) {
    settings.customPrompt = u"the prompt"_qs;
    capture.script.hold();
    make();
    run();
    model->togglePaused();
    capture.script.release(0, FakeCapture::frame());
    drainEvents();
    EXPECT_FALSE(onlyRequest().settings.paused);
}

TEST_F(AppModelRunTest, WithoutTheProcessingOverlayNoWorkingPanelAppears) {
    settings.showProcessingOverlay = false;
    service.script.hold();
    make();
    run();
    clock.advance(5s);
    EXPECT_FALSE(journal.holds(u"showWorking 7"_qs));
    EXPECT_EQ(logged("overlay", LogLevel::debug, "Working overlay hidden by user setting"), 1);
}

TEST_F(AppModelRunTest, TheSoftDeadlineChangesTheWorkingPanelOnly) {
    service.script.hold();
    make();
    run();
    clock.advance(5s - 1ms);
    EXPECT_FALSE(journal.holds(u"markWorkingSlow"_qs));
    clock.advance(1ms);
    EXPECT_EQ(journal.count(u"markWorkingSlow"_qs), 1);
    EXPECT_EQ(model->state(), AnalysisState::analyzing);
    EXPECT_EQ(logged("timing", LogLevel::standard,
                     "Soft deadline elapsed; the analysis is still running; softDeadlineMS=5000"),
              1);
    service.script.release(0, FakeAnalysisService::response(u"late"_qs));
    drainEvents();
    EXPECT_EQ(model->lastResult(), u"late"_qs);
    EXPECT_TRUE(log.holds("sloExceeded=1"));
}

TEST_F(AppModelRunTest, ARunThatEndsCancelsItsSoftDeadline) {
    make();
    run();
    clock.advance(60s);
    EXPECT_FALSE(journal.holds(u"markWorkingSlow"_qs));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(AppModelRunTest, ASupersededRunsSoftDeadlineDoesNothing) {
    service.script.ignoreStops(); // so that the first run, and its deadline, live on
    service.script.hold();
    make();
    run();
    clock.advance(4s);
    run(otherDisplay);
    clock.advance(2s);
    EXPECT_FALSE(journal.holds(u"markWorkingSlow"_qs));
    clock.advance(3s);
    EXPECT_EQ(journal.count(u"markWorkingSlow"_qs), 1);
}

TEST_F(AppModelRunTest, TheNewestOfTwoTriggersOnTwoDisplaysWins) {
    service.script.hold();
    make();
    run(mainDisplay);
    run(otherDisplay);
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Analysis cancelled"), 1);
    EXPECT_EQ(model->state(), AnalysisState::analyzing) << "the cancelled run moves nothing";
    EXPECT_TRUE(overlays.isWorkingUp);
    service.script.release(1, FakeAnalysisService::response(u"second"_qs));
    drainEvents();
    EXPECT_EQ(model->lastResult(), u"second"_qs);
    ASSERT_EQ(overlays.results.size(), 1U);
    EXPECT_EQ(overlays.results[0].displayID, otherDisplay);
}

TEST_F(AppModelRunTest, ACancelledOwnerClearsItsPanelAndGoesIdle) {
    capture.script.hold();
    make();
    run();
    model->terminate();
    journal.clear();
    drainEvents();
    EXPECT_EQ(journal.entries(), QStringList{u"clearWorking"_qs});
    EXPECT_EQ(model->state(), AnalysisState::idle);
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Analysis cancelled"), 1);
}

TEST_F(AppModelRunTest, ACancellationReadsNothingMoreAndShowsNothing) {
    extractor.script.hold();
    make();
    run();
    model->terminate();
    drainEvents();
    EXPECT_TRUE(service.requests.empty());
    EXPECT_TRUE(overlays.errors.empty());
    EXPECT_EQ(logged("capture", LogLevel::error,
                     "Screen text extraction failed; continuing with the screenshot only"),
              0);
}

TEST_F(AppModelRunTest, ADeafRunsLateAnswerIsDiscarded) {
    service.script.ignoreStops();
    service.script.hold();
    make();
    run();
    const QStringList before = journal.entries();
    model->authenticationDidClearSession();
    journal.clear();
    service.script.release(0, FakeAnalysisService::response(u"stale"_qs));
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty()) << "nothing is copied, shown or saved";
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Analysis cancelled"), 1);
    EXPECT_EQ(log.countStartingWith("Analysis response received"), 0);
    EXPECT_EQ(model->lastResult(), std::nullopt);
}

TEST_F(AppModelRunTest, AStopIsSeenBehindEveryStage) {
    capture.script.ignoreStops();
    capture.script.hold();
    make();
    run();
    model->authenticationDidClearSession();
    journal.clear();
    capture.script.release(0, FakeCapture::frame());
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty()) << "nothing is read of a frame nobody wants";

    capture.script.letGo();
    reducer.script.ignoreStops();
    reducer.script.hold();
    run();
    model->authenticationDidClearSession();
    reducer.script.release(0, {QByteArray("jpeg"), 10, 5});
    drainEvents();
    EXPECT_EQ(log.countStartingWith("Capture completed"), 0);
    EXPECT_EQ(logged("lifecycle", LogLevel::info, "Analysis cancelled"), 2);
}

TEST_F(AppModelRunTest, AModelThatGoesDuringARunLeavesNothingBehind) {
    for (const QString& stage : {u"capture"_qs, u"extract"_qs, u"encode"_qs, u"analyze"_qs}) {
        capture.script.letGo();
        extractor.script.letGo();
        reducer.script.letGo();
        service.script.letGo();
        if (stage == u"capture"_qs) {
            capture.script.hold();
        } else if (stage == u"extract"_qs) {
            extractor.script.hold();
        } else if (stage == u"encode"_qs) {
            reducer.script.hold();
        } else {
            service.script.hold();
        }
        make();
        run();
        journal.clear();
        model.reset();
        drainEvents();
        EXPECT_TRUE(journal.entries().isEmpty()) << stage.toStdString();
        EXPECT_EQ(clock.timerCount(), 0U) << stage.toStdString();
    }
}

TEST_F(AppModelRunTest, AFinishedRunCanBeFollowedByAThousandMore) {
    make();
    for (int index = 0; index < 1000; ++index) {
        run(index % 2 == 0 ? mainDisplay : otherDisplay);
    }
    EXPECT_EQ(service.requests.size(), 1000U);
    EXPECT_EQ(overlays.results.size(), 1000U);
    EXPECT_EQ(clock.timerCount(), 0U);
}

} // namespace lumivane::test
