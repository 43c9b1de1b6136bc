#include "screen/ScreenImageReducer.h"

#include "async/Cancelled.h"
#include "async/SystemClock.h"
#include "domain/LumivaneError.h"
#include "screen/ScreenImagePolicy.h"
#include "support/EventLoop.h"
#include "support/FakeImageCodec.h"
#include "support/LogCapture.h"

#include <qcoro/qcorotask.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <optional>

namespace lumivane {

using test::FakeImageCodec;
using Answer = FakeImageCodec::Answer;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

QImage picture(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::white);
    return image;
}

/// How an encoding ended.
struct EncodingOutcome {
    std::optional<ReducedScreenImage> image;
    std::optional<LumivaneError> error;
    bool wasCancelled = false;

    bool hasEnded() const { return image || error || wasCancelled; }
};

QCoro::Task<void> follow(QCoro::Task<ReducedScreenImage> encoding, EncodingOutcome& outcome) {
    try {
        outcome.image = co_await encoding;
    } catch (const LumivaneError& error) {
        outcome.error = error;
    } catch (const Cancelled&) {
        outcome.wasCancelled = true;
    }
}

class ScreenImageReducerTest : public testing::Test {
protected:
    EncodingOutcome encode(const QImage& image, int longEdge, double quality,
                           const std::stop_token& stop = {}) {
        EncodingOutcome outcome;
        auto following = follow(reducer.encode(image, longEdge, quality, stop), outcome);
        EXPECT_TRUE(test::waitUntil([&] { return outcome.hasEnded(); }));
        return outcome;
    }

    InkMetrics ink(const std::vector<Rect>& boxes) {
        return reducer.inkMetrics(picture(codec.grey.width(), codec.grey.height()), boxes);
    }

    template <typename Work>
    void expectCaptureFailed(Work work, std::string_view line) {
        try {
            work();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const LumivaneError& error) {
            EXPECT_EQ(error, LumivaneError(LumivaneError::Case::captureFailed));
        }
        EXPECT_EQ(log.count("capture", LogLevel::error, line), 1);
        EXPECT_EQ(log.lines().size(), 1U);
    }

    test::LogCapture log;
    FakeImageCodec codec;
    QThreadPool pool;
    ScreenImageReducer reducer{codec, pool};
};

/// A grey grid from rows of values.
QImage greyGrid(const std::vector<std::vector<int>>& rows) {
    QImage image(static_cast<int>(rows.front().size()), static_cast<int>(rows.size()),
                 QImage::Format_Grayscale8);
    for (int row = 0; row < image.height(); ++row) {
        for (int column = 0; column < image.width(); ++column) {
            image.scanLine(row)[column] = static_cast<uchar>(
                rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)]);
        }
    }
    return image;
}

// Sizes

TEST_F(ScreenImageReducerTest, LongEdgeIsMetAndTheShortOneFollows) {
    EXPECT_EQ(ScreenImageReducer::targetSize({2880, 1800}, 1024), (PixelSize{1024, 640}));
    EXPECT_EQ(ScreenImageReducer::targetSize({1800, 2880}, 1024), (PixelSize{640, 1024}));
}

TEST_F(ScreenImageReducerTest, SmallImagesAreNeverScaledUp) {
    EXPECT_EQ(ScreenImageReducer::targetSize({800, 600}, 1024), (PixelSize{800, 600}));
    EXPECT_EQ(ScreenImageReducer::targetSize({1024, 768}, 1024), (PixelSize{1024, 768}));
    EXPECT_EQ(ScreenImageReducer::targetSize({1025, 768}, 1024), (PixelSize{1024, 767}));
}

TEST_F(ScreenImageReducerTest, EdgeThatRoundsToNothingIsOnePixel) {
    EXPECT_EQ(ScreenImageReducer::targetSize({5000, 2}, 1024), (PixelSize{1024, 1}));
    EXPECT_EQ(ScreenImageReducer::targetSize({2, 5000}, 1024), (PixelSize{1, 1024}));
}

TEST_F(ScreenImageReducerTest, HalvesRoundAwayFromZero) {
    EXPECT_EQ(ScreenImageReducer::targetSize({2048, 5}, 1024), (PixelSize{1024, 3}));
    EXPECT_EQ(ScreenImageReducer::targetSize({2048, 1}, 1024), (PixelSize{1024, 1}));
    EXPECT_EQ(ScreenImageReducer::targetSize({4096, 5}, 1024), (PixelSize{1024, 1}));
}

TEST_F(ScreenImageReducerTest, SizesWithoutPixelsComeBackAsTheyAre) {
    EXPECT_EQ(ScreenImageReducer::targetSize({0, 600}, 10), (PixelSize{0, 600}));
    EXPECT_EQ(ScreenImageReducer::targetSize({800, 0}, 10), (PixelSize{800, 0}));
    EXPECT_EQ(ScreenImageReducer::targetSize({-800, 600}, 10), (PixelSize{-800, 600}));
    EXPECT_EQ(ScreenImageReducer::targetSize({800, 600}, 0), (PixelSize{800, 600}));
    EXPECT_EQ(ScreenImageReducer::targetSize({800, 600}, -1), (PixelSize{800, 600}));
}

// Scaling

TEST_F(ScreenImageReducerTest, ImageOfItsTargetSizeIsNotResampled) {
    const QImage image = picture(800, 600);
    EXPECT_EQ(reducer.scaled(image, 1024).cacheKey(), image.cacheKey());
    EXPECT_TRUE(codec.rgbResamplings().empty());
}

TEST_F(ScreenImageReducerTest, LargerImageIsResampledOnceToItsTargetSize) {
    const QImage small = reducer.scaled(picture(2880, 1800), 1024);
    EXPECT_EQ(small.size(), QSize(1024, 640));
    const std::vector<FakeImageCodec::Resampling> expected{{{2880, 1800}, {1024, 640}}};
    EXPECT_EQ(codec.rgbResamplings(), expected);
}

TEST_F(ScreenImageReducerTest, NoMemoryForTheSmallImageIsCaptureFailed) {
    codec.rgbAnswer = Answer::none;
    expectCaptureFailed([&] { reducer.scaled(picture(2880, 1800), 1024); },
                        "Could not allocate the downscale context");
}

TEST_F(ScreenImageReducerTest, NoSmallImageIsCaptureFailed) {
    codec.rgbAnswer = Answer::nullImage;
    expectCaptureFailed(
        [&] {
            reducer.resize(picture(20, 10), {10, 5});
        },
        "Downscaling produced no image");
}

// Encoding

TEST_F(ScreenImageReducerTest, QualityReachesTheEncoderHeldToItsRange) {
    for (const double quality : {0.7, 0.0, 1.0, 1.5, -1.0, infinity, -infinity, nan}) {
        EXPECT_EQ(reducer.encodeJPEG(picture(4, 3), quality), QByteArray("jpeg"));
    }
    std::vector<double> reached;
    for (const auto& encoding : codec.encodings()) {
        reached.push_back(encoding.quality);
    }
    EXPECT_EQ(reached, (std::vector<double>{0.7, 0, 1, 1, 0, 1, 0, 0}));
}

TEST_F(ScreenImageReducerTest, NoEncoderIsCaptureFailed) {
    codec.jpegAnswer = Answer::outOfMemory;
    expectCaptureFailed([&] { reducer.encodeJPEG(picture(4, 3), 0.7); },
                        "Could not create the JPEG destination");
}

TEST_F(ScreenImageReducerTest, FailedEncodingIsCaptureFailed) {
    codec.jpegAnswer = Answer::none;
    expectCaptureFailed([&] { reducer.encodeJPEG(picture(4, 3), 0.7); }, "JPEG encoding failed");
}

// The whole

TEST_F(ScreenImageReducerTest, FrameBecomesOneJpegWithTheSmallSize) {
    codec.jpeg = QByteArray(8192 * 3 - 1, 'x');
    const EncodingOutcome outcome = encode(picture(2880, 1800), 1024, 0.7);
    ASSERT_TRUE(outcome.image);
    EXPECT_EQ(*outcome.image, (ReducedScreenImage{codec.jpeg, 1024, 640}));
    EXPECT_EQ(codec.encodings(),
              (std::vector<FakeImageCodec::Encoding>{{PixelSize{1024, 640}, 0.7}}));
    EXPECT_EQ(log.count("capture", LogLevel::debug,
                        "Capture reduced; pixelWidth=1024 pixelHeight=640 "
                        "jpegBytesBucket=16384"),
              1);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(ScreenImageReducerTest, SmallFrameIsEncodedAsItIs) {
    const EncodingOutcome outcome = encode(picture(1, 1), 1024, 0.7);
    ASSERT_TRUE(outcome.image);
    EXPECT_EQ(*outcome.image, (ReducedScreenImage{"jpeg", 1, 1}));
    EXPECT_TRUE(codec.rgbResamplings().empty());
    EXPECT_EQ(log.count("capture", LogLevel::debug,
                        "Capture reduced; pixelWidth=1 pixelHeight=1 jpegBytesBucket=0"),
              1);
}

TEST_F(ScreenImageReducerTest, EncodingWorksOffTheMainThread) {
    EncodingOutcome outcome;
    auto following = follow(reducer.encode(picture(2880, 1800), 1024, 0.7, {}), outcome);
    EXPECT_FALSE(outcome.hasEnded());
    ASSERT_TRUE(test::waitUntil([&] { return outcome.hasEnded(); }));
    EXPECT_TRUE(outcome.image);
    EXPECT_EQ(codec.rgbResamplings().size(), 1U);
    EXPECT_EQ(codec.encodings().size(), 1U);
    EXPECT_FALSE(codec.wasUsedOnMainThread());
    reducer.encodeJPEG(picture(4, 3), 0.7); // on the calling thread
    EXPECT_TRUE(codec.wasUsedOnMainThread());
}

TEST_F(ScreenImageReducerTest, FailuresOfEitherStepEndTheEncoding) {
    codec.rgbAnswer = Answer::none;
    EXPECT_EQ(encode(picture(2880, 1800), 1024, 0.7).error,
              LumivaneError(LumivaneError::Case::captureFailed));
    EXPECT_TRUE(codec.encodings().empty());
    codec.rgbAnswer = Answer::good;
    codec.jpegAnswer = Answer::none;
    EXPECT_EQ(encode(picture(2880, 1800), 1024, 0.7).error,
              LumivaneError(LumivaneError::Case::captureFailed));
    EXPECT_EQ(log.countStartingWith("Capture reduced"), 0);
}

TEST_F(ScreenImageReducerTest, FrameWithoutPixelsIsCaptureFailed) {
    EXPECT_EQ(encode(QImage(), 1024, 0.7).error, LumivaneError(LumivaneError::Case::captureFailed));
}

TEST_F(ScreenImageReducerTest, StopEndsTheEncodingAsCancelled) {
    std::stop_source source;
    source.request_stop();
    EXPECT_TRUE(encode(picture(2880, 1800), 1024, 0.7, source.get_token()).wasCancelled);
    EXPECT_TRUE(codec.rgbResamplings().empty());
}

// Ink

TEST_F(ScreenImageReducerTest, FrameWithoutPixelsHasNoInk) {
    EXPECT_EQ(reducer.inkMetrics(QImage(), {{0, 0, 1, 1}}), InkMetrics::empty);
    EXPECT_TRUE(codec.greyResamplings().empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ScreenImageReducerTest, NoMemoryForTheGridIsNoInkAndOneLine) {
    codec.greyAnswer = Answer::none;
    EXPECT_EQ(reducer.inkMetrics(picture(96, 60), {{0, 0, 1, 1}}), InkMetrics::empty);
    EXPECT_EQ(log.count("capture", LogLevel::debug,
                        "Ink metrics skipped; the grey context could not be allocated"),
              1);
}

TEST_F(ScreenImageReducerTest, GridWithoutDataIsNoInkAndNoLine) {
    codec.greyAnswer = Answer::nullImage;
    EXPECT_EQ(reducer.inkMetrics(picture(96, 60), {{0, 0, 1, 1}}), InkMetrics::empty);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ScreenImageReducerTest, GridThatIsNotTheOneAskedForIsNoInk) {
    codec.grey = greyGrid({{0, 255}, {255, 0}});
    EXPECT_EQ(reducer.inkMetrics(picture(96, 60), {}), InkMetrics::empty);
    codec.grey = picture(2, 2);
    EXPECT_EQ(reducer.inkMetrics(picture(2, 2), {}), InkMetrics::empty);
}

TEST_F(ScreenImageReducerTest, GridIsAskedForAtItsSize) {
    reducer.inkMetrics(picture(2880, 1800), {});
    const std::vector<FakeImageCodec::Resampling> expected{{{2880, 1800}, {96, 60}}};
    EXPECT_EQ(codec.greyResamplings(), expected);
}

TEST_F(ScreenImageReducerTest, FlatFrameWithoutBoxesHasNoInk) {
    codec.grey = greyGrid({{9, 9, 9}, {9, 9, 9}});
    EXPECT_EQ(ink({}), InkMetrics::empty);
}

TEST_F(ScreenImageReducerTest, DifferenceOfTwelveIsNoEdgeAndThirteenIsOne) {
    codec.grey = greyGrid({{100, 112}});
    EXPECT_EQ(ink({}).nonTextEnergy, 0);
    codec.grey = greyGrid({{100, 113}});
    EXPECT_EQ(ink({}).nonTextEnergy, 1);
    codec.grey = greyGrid({{113, 100}});
    EXPECT_EQ(ink({}).nonTextEnergy, 1);
    codec.grey = greyGrid({{0, 255}}); // would wrap in eight bits
    EXPECT_EQ(ink({}).nonTextEnergy, 1);
}

TEST_F(ScreenImageReducerTest, EdgeIsSeenFromAllFourSides) {
    codec.grey = greyGrid({{0, 0, 0}, {0, 50, 0}, {0, 0, 0}});
    EXPECT_DOUBLE_EQ(ink({}).nonTextEnergy, 5.0 / 9); // the cross, not its corners
}

TEST_F(ScreenImageReducerTest, BoxOverEverythingLeavesNoEnergy) {
    codec.grey = greyGrid({{0, 255, 0}, {255, 0, 255}});
    EXPECT_EQ(ink({{0, 0, 1, 1}}), (InkMetrics{0, 1}));
}

TEST_F(ScreenImageReducerTest, EdgeUnderTextIsNotCounted) {
    codec.grey = greyGrid({{0, 255, 255, 0}});
    EXPECT_EQ(ink({{0, 0, 0.5, 1}}), (InkMetrics{0.5, 0.5}));
}

TEST_F(ScreenImageReducerTest, OverlappingBoxesCountEachCellOnce) {
    codec.grey = greyGrid({{0, 0, 0, 0}, {0, 0, 0, 0}});
    const Rect box{0.25, 0, 0.5, 1};
    EXPECT_EQ(ink({box}).textCoverage, 0.5);
    EXPECT_EQ(ink({box, box}).textCoverage, 0.5);
    EXPECT_EQ(ink({box, {0, 0, 0.5, 0.5}}).textCoverage, 5.0 / 8);
}

TEST_F(ScreenImageReducerTest, BoxCoversEveryCellItTouches) {
    codec.grey = greyGrid({{0, 0, 0, 0}});
    EXPECT_EQ(ink({{0.25, 0, 0.25, 1}}).textCoverage, 0.25); // its own cell to the very edge
    EXPECT_EQ(ink({{0.25, 0, 0.26, 1}}).textCoverage, 0.5);
    EXPECT_EQ(ink({{0.24, 0, 0.25, 1}}).textCoverage, 0.5);
    EXPECT_EQ(ink({{0.3, 0.3, 0.01, 0.01}}).textCoverage, 0.25);
}

TEST_F(ScreenImageReducerTest, BoxesBeyondTheFrameAreCutOff) {
    codec.grey = greyGrid({{0, 0}, {0, 0}});
    EXPECT_EQ(ink({{-5, -5, 5.5, 5.5}}).textCoverage, 0.25);
    EXPECT_EQ(ink({{0.5, 0.5, 9, 9}}).textCoverage, 0.25);
    EXPECT_EQ(ink({{1, 0, 1, 1}}).textCoverage, 0);
    EXPECT_EQ(ink({{-1, 0, 1, 1}}).textCoverage, 0);
    EXPECT_EQ(ink({{0, 2, 1, 1}, {0, -2, 1, 1}}).textCoverage, 0);
}

TEST_F(ScreenImageReducerTest, BoxesWithoutAnAreaInsideACellCoverItOnlyAcrossItsSpan) {
    codec.grey = greyGrid({{0, 0}, {0, 0}});
    EXPECT_EQ(ink({{0.5, 0.5, 0, 0}}).textCoverage, 0);      // on the border of cells
    EXPECT_EQ(ink({{0.25, 0.25, 0, 0}}).textCoverage, 0.25); // within one
    EXPECT_EQ(ink({{0.9, 0.9, -0.8, -0.8}}).textCoverage, 0);
}

TEST_F(ScreenImageReducerTest, BoxesOfAnyNumbersAreSafe) {
    codec.grey = greyGrid({{0, 0}, {0, 0}});
    EXPECT_EQ(ink({{nan, 0, 1, 1}, {0, nan, 1, 1}, {0, 0, nan, 1}, {0, 0, 1, nan}}).textCoverage,
              0);
    EXPECT_EQ(ink({{-infinity, 0, infinity, 1}}).textCoverage, 0); // ends at no number
    EXPECT_EQ(ink({{infinity, 0, 1, 1}, {-infinity, 0, 1, 1}}).textCoverage, 0);
    EXPECT_EQ(ink({{-1e300, -1e300, 2e300, 2e300}}).textCoverage, 1);
    EXPECT_EQ(ink({{0, 0, infinity, infinity}}).textCoverage, 1);
}

TEST_F(ScreenImageReducerTest, HundredThousandBoxesAreOneSweep) {
    codec.grey = QImage(96, 384, QImage::Format_Grayscale8);
    codec.grey.fill(0);
    const auto timeOf = [this](std::size_t count, const Rect& box, double coverage) {
        const SystemClock clock;
        const std::vector<Rect> boxes(count, box);
        auto shortest = std::chrono::nanoseconds::max();
        for (int round = 0; round < 3; ++round) {
            const MonotonicInstant begin = clock.now();
            EXPECT_EQ(ink(boxes).textCoverage, coverage);
            shortest = std::min(shortest, clock.now() - begin);
        }
        return shortest;
    };
    constexpr std::size_t many = 100'000;
    const auto whole = timeOf(many, {0, 0, 1, 1}, 1);
    const auto specks = timeOf(many, {0.001, 0.001, 0.001, 0.001}, 1.0 / (96 * 384));
    // Box by box, the whole grid of 36,864 cells would be thousands of times as much work as one.
    EXPECT_LT(whole, 10 * specks);
    // And a hundred times the boxes are at most a hundred times the work, never its square.
    EXPECT_LT(whole, 200 * timeOf(many / 100, {0, 0, 1, 1}, 1));
}

} // namespace lumivane
