#include "screen/ScreenTextExtractor.h"

#include "async/Cancelled.h"
#include "async/TaskHandle.h"
#include "domain/Characters.h"
#include "domain/LumivaneError.h"
#include "platform/ImageCodec.h"
#include "screen/ScreenImageReducer.h"
#include "screen/ScreenTextLayout.h"
#include "support/EventLoop.h"
#include "support/FakeTextRecogniser.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace lumivane {

using namespace std::chrono_literals;
using test::FakeTextRecogniser;
using testing::DoubleEq;
using testing::ElementsAre;
using testing::SizeIs;

namespace {

/// Answers blank images of the size asked for, and can be told to have no memory.
class BlankCodec final : public ImageCodec {
public:
    std::optional<QImage> resampleRgb(const QImage&, PixelSize size) const override {
        return hasMemory ? std::optional(blank(size, QImage::Format_RGB32)) : std::nullopt;
    }

    std::optional<QImage> resampleGrey(const QImage& image, PixelSize size) const override {
        lastGreySource = image.size();
        return blank(size, QImage::Format_Grayscale8);
    }

    std::optional<QByteArray> encodeJpeg(const QImage&, double) const override {
        return QByteArray();
    }

    static QImage blank(PixelSize size, QImage::Format format) {
        QImage image(size.width, size.height, format);
        image.fill(Qt::white);
        return image;
    }

    bool hasMemory = true;
    mutable QSize lastGreySource;
};

QImage frame(int width = 1440, int height = 900) {
    return BlankCodec::blank({width, height}, QImage::Format_RGB32);
}

RecognisedRun runOf(const QString& text, float confidence, Rect box = {0, 0.9, 0.1, 0.1}) {
    return {text, confidence, box};
}

} // namespace

class ScreenTextExtractorTest : public testing::Test {
protected:
    enum class End { running, finished, cancelled, captureFailed, otherError };

    static QCoro::Task<void> flow(ScreenTextExtractorTest* self, QImage image, double scale,
                                  std::stop_token stop) {
        try {
            self->text = co_await self->extractor.extract(std::move(image), scale, stop);
            self->end = End::finished;
        } catch (const LumivaneError& error) {
            self->end = error == LumivaneError(LumivaneError::Case::captureFailed)
                            ? End::captureFailed
                            : End::otherError;
        } catch (const Cancelled&) {
            self->end = End::cancelled;
        }
    }

    void start(QImage image, double scale = 1) {
        task = TaskHandle::start([this, image, scale](std::stop_token stop) {
            return flow(this, image, scale, std::move(stop));
        });
    }

    End extract(QImage image = frame(), double scale = 1) {
        start(std::move(image), scale);
        EXPECT_TRUE(test::waitUntil([this] { return end != End::running; }));
        pool.waitForDone();
        return end;
    }

    /// Cancels while the recogniser is at work, and lets the job run to its end.
    void cancelDuringRecognition() {
        start(frame());
        ASSERT_TRUE(test::waitUntil([this] { return recogniser.isHolding(); }));
        task.cancel();
        ASSERT_TRUE(test::waitUntil([this] { return end != End::running; }));
        pool.waitForDone();
    }

    test::LogCapture log;
    test::ManualClock clock;
    FakeTextRecogniser recogniser;
    BlankCodec codec;
    QThreadPool pool;
    ScreenImageReducer reducer{codec, pool};
    ScreenTextExtractor extractor{recogniser, reducer, pool, clock};
    TaskHandle task;
    End end = End::running;
    ScreenText text;
};

TEST_F(ScreenTextExtractorTest, FrameWithoutTextGivesAnEmptyTextAndNoError) {
    EXPECT_EQ(extract(), End::finished);
    EXPECT_EQ(text, ScreenText{});
}

TEST_F(ScreenTextExtractorTest, SignalsDescribeTheTranscript) {
    recogniser.setRuns({runOf(u"abcd"_qs, 0.9F), runOf(u"ab"_qs, 0.3F, {0.5, 0.9, 0.1, 0.1})});
    EXPECT_EQ(extract(), End::finished);
    EXPECT_EQ(text.text, u"abcd   ab"_qs);
    EXPECT_FALSE(text.truncated);
    EXPECT_EQ(text.charCount(), 9);
    EXPECT_NEAR(text.meanConfidence(), 0.7, 1e-6);
    EXPECT_GT(text.textCoverage(), 0);
    EXPECT_EQ(text.nonTextEnergy(), 0);
}

TEST_F(ScreenTextExtractorTest, RunsWithoutACandidateAreSkippedAndTheRestKept) {
    recogniser.setRuns({runOf(u"first"_qs, 1),
                        {std::nullopt, 1, {0, 0.5, 0.1, 0.1}},
                        runOf(u"last"_qs, 1, {0, 0.1, 0.1, 0.1})});
    EXPECT_EQ(extract(), End::finished);
    EXPECT_THAT(text.text.split(u'\n', Qt::SkipEmptyParts), ElementsAre(u"first"_qs, u"last"_qs));
}

TEST_F(ScreenTextExtractorTest, FragmentBelowTheFloorCountsNeitherInConfidenceNorInCoverage) {
    recogniser.setRuns(
        {runOf(u"kept"_qs, 0.8F, {0, 0, 1, 0.5}), runOf(u"doubtful"_qs, 0.29F, {0, 0.5, 1, 0.5})});
    EXPECT_EQ(extract(), End::finished);
    EXPECT_NEAR(text.meanConfidence(), 0.8, 1e-6);
    EXPECT_DOUBLE_EQ(text.textCoverage(), 0.5);
    EXPECT_EQ(text.text, u"kept"_qs);
}

TEST_F(ScreenTextExtractorTest, CharCountIsThatOfTheTruncatedText) {
    std::vector<RecognisedRun> runs;
    for (int line = 0; line < 400; ++line) {
        const double y = 1 - (line + 1) / 400.0;
        runs.push_back(runOf(u"line %1 "_qs.arg(line) + QString(50, u'x'), 1, {0, y, 1, 0.002}));
    }
    recogniser.setRuns(runs);
    EXPECT_EQ(extract(), End::finished);
    EXPECT_TRUE(text.truncated);
    EXPECT_EQ(text.charCount(), ScreenTextLayout::maximumCharacters);
    EXPECT_EQ(text.charCount(), characterCount(text.text));
}

TEST_F(ScreenTextExtractorTest, RecognisesAndMeasuresTheScaledImage) {
    EXPECT_EQ(extract(frame(2880, 1800), 2), End::finished);
    ASSERT_THAT(recogniser.images(), SizeIs(1));
    EXPECT_EQ(recogniser.images().front().size(), QSize(2160, 1350));
    EXPECT_EQ(codec.lastGreySource, QSize(2160, 1350));
}

TEST_F(ScreenTextExtractorTest, TallFrameIsScaledByItsHeight) {
    EXPECT_EQ(extract(frame(1200, 5120), 1), End::finished);
    EXPECT_EQ(recogniser.images().front().size(), QSize(900, 3840));
}

TEST_F(ScreenTextExtractorTest, WritesOneLineWithEverySignal) {
    recogniser.setRuns(
        {runOf(u"abcd"_qs, 0.9F, {0, 0, 1, 1}), runOf(u"ab"_qs, 0.3F, {0, 0, 1, 1})});
    EXPECT_EQ(extract(), End::finished);
    EXPECT_THAT(log.texts("capture"),
                ElementsAre("Screen text extracted; chars=7 fragments=2 ocrLongEdge=1440 "
                            "confidencePercent=70 coveragePercent=100 nonTextEnergyPercent=0 "
                            "truncated=0 durationMS=0"));
    EXPECT_EQ(log.lines().front().level, LogLevel::standard);
}

TEST_F(ScreenTextExtractorTest, PercentIsRoundedHalfAwayFromZero) {
    recogniser.setRuns({runOf(u"abcd"_qs, 0.625F)});
    EXPECT_EQ(extract(), End::finished);
    EXPECT_TRUE(log.holds("confidencePercent=63 "));
}

TEST_F(ScreenTextExtractorTest, DurationRunsFromTheCallAndIsCutToWholeMilliseconds) {
    recogniser.hold();
    start(frame());
    ASSERT_TRUE(test::waitUntil([this] { return recogniser.isHolding(); }));
    clock.advance(1234ms + 999us);
    recogniser.release();
    ASSERT_TRUE(test::waitUntil([this] { return end != End::running; }));
    EXPECT_EQ(text.durationMS, 1234);
    EXPECT_TRUE(log.holds("durationMS=1234"));
}

TEST_F(ScreenTextExtractorTest, FailingRecogniserIsACaptureFailureAndItsWordsAreNotLogged) {
    recogniser.setFailure("secret words");
    EXPECT_EQ(extract(), End::captureFailed);
    EXPECT_EQ(log.count("capture", LogLevel::error, "Text recognition failed"), 1);
    EXPECT_THAT(log.lines(), SizeIs(1));
    EXPECT_FALSE(log.holds("secret"));
}

TEST_F(ScreenTextExtractorTest, FailingScalingIsACaptureFailureAndNothingIsRecognised) {
    codec.hasMemory = false;
    EXPECT_EQ(extract(frame(2880, 1800), 2), End::captureFailed);
    EXPECT_THAT(recogniser.images(), SizeIs(0));
}

TEST_F(ScreenTextExtractorTest, CancelledDuringRecognitionEndsCancelledAndLogsNoFailure) {
    recogniser.hold(FakeTextRecogniser::OnStop::throwCancelled);
    cancelDuringRecognition();
    EXPECT_EQ(end, End::cancelled);
    EXPECT_THAT(log.lines(), SizeIs(0));
}

TEST_F(ScreenTextExtractorTest, RecogniserThatFailsBecauseItWasStoppedLogsNoFailure) {
    recogniser.hold(FakeTextRecogniser::OnStop::failInItsOwnWords);
    cancelDuringRecognition();
    EXPECT_EQ(end, End::cancelled);
    EXPECT_THAT(log.lines(), SizeIs(0));
}

TEST_F(ScreenTextExtractorTest, ResultThatComesAfterTheStopIsDropped) {
    recogniser.setRuns({runOf(u"late"_qs, 1)});
    recogniser.hold(FakeTextRecogniser::OnStop::answerAllTheSame);
    cancelDuringRecognition();
    EXPECT_EQ(end, End::cancelled);
    EXPECT_THAT(log.lines(), SizeIs(0));
}

TEST_F(ScreenTextExtractorTest, CancelledBeforehandRecognisesNothing) {
    start(frame());
    task.cancel();
    ASSERT_TRUE(test::waitUntil([this] { return end != End::running; }));
    EXPECT_EQ(end, End::cancelled);
    EXPECT_THAT(recogniser.images(), SizeIs(0));
}

TEST_F(ScreenTextExtractorTest, BlockingReadGivesTheAcceptedFragmentsToo) {
    recogniser.setRuns(
        {runOf(u" kept "_qs, 0.5F, {0.25, 0.5, 0.25, 0.25}), runOf(u"\u2022"_qs, 1)});
    const ScreenReading reading = extractor.read(frame(), 1, {});
    EXPECT_THAT(reading.fragments,
                ElementsAre(TextFragment{u"kept"_qs, 0.5, {0.25, 0.25, 0.25, 0.25}}));
    EXPECT_EQ(reading.text.text, u"kept"_qs);
}

TEST_F(ScreenTextExtractorTest, BlockingReadThrowsCancelledOnceStopped) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THROW(extractor.read(frame(), 1, stop.get_token()), Cancelled);
    EXPECT_THAT(recogniser.images(), SizeIs(0));
}

TEST(ScreenTextFragment, BoxIsTurnedToGrowDownward) {
    const auto made = ScreenTextExtractor::fragment({u"a"_qs, 0.5F, {0.25, 0.8, 0.5, 0.1}});
    ASSERT_TRUE(made);
    EXPECT_NEAR(made->box.y, 0.1, 1e-12);
    EXPECT_EQ(made->box.x, 0.25);
    EXPECT_EQ(made->box.width, 0.5);
    EXPECT_EQ(made->box.height, 0.1);
    EXPECT_EQ(made->confidence, 0.5);
    EXPECT_EQ(made->text, u"a"_qs);
}

TEST(ScreenTextFragment, RunWithoutACandidateIsNone) {
    EXPECT_EQ(ScreenTextExtractor::fragment({std::nullopt, 1, {}}), std::nullopt);
}

TEST(ScreenTextMeanConfidence, IsWeightedByCharacters) {
    EXPECT_THAT(ScreenTextExtractor::meanConfidence({{u"abcd"_qs, 0.9, {}}, {u"ab"_qs, 0.3, {}}}),
                testing::DoubleNear(0.7, 1e-12));
}

TEST(ScreenTextMeanConfidence, CountsGraphemeClustersAsOneCharacter) {
    const QString flag = u"\U0001F1E9\U0001F1EA"_qs;
    EXPECT_THAT(ScreenTextExtractor::meanConfidence({{flag, 1, {}}, {u"a"_qs, 0, {}}}),
                DoubleEq(0.5));
}

TEST(ScreenTextMeanConfidence, NoCharactersGiveZero) {
    EXPECT_EQ(ScreenTextExtractor::meanConfidence({}), 0);
    EXPECT_EQ(ScreenTextExtractor::meanConfidence({{QString(), 0.9, {}}}), 0);
}

} // namespace lumivane
