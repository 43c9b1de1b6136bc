#include "screen/ScreenCaptureService.h"

#include "async/Cancelled.h"
#include "async/TaskHandle.h"
#include "domain/LumivaneError.h"
#include "support/EventLoop.h"
#include "support/FakeDisplayServer.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>

namespace lumivane {

using test::FakeDisplayServer;
using test::LogCapture;

namespace {

constexpr std::int64_t ownProcess = 4711;
constexpr std::uint32_t displayID = FakeDisplayServer::firstDisplayID;
constexpr Rect frame{0, 0, 1440, 900};

struct Outcome {
    std::optional<CapturedScreen> screen;
    std::optional<LumivaneError::Case> error;
    std::string serverError;
    bool cancelled = false;
    bool done = false;
};

QCoro::Task<void> record(ScreenCapturing* service, std::uint32_t display, ScreenCrop crop,
                         std::shared_ptr<Outcome> outcome, std::stop_token stop) {
    try {
        outcome->screen = co_await service->capture(display, crop, stop);
    } catch (const LumivaneError& error) {
        outcome->error = error.errorCase;
    } catch (const DisplayServerError& error) {
        outcome->serverError = error.what();
    } catch (const Cancelled&) {
        outcome->cancelled = true;
    }
    outcome->done = true;
}

} // namespace

class ScreenCaptureServiceTest : public testing::Test {
protected:
    ~ScreenCaptureServiceTest() override {
        displayServer.releaseStills();
        pool.waitForDone();
        test::drainEvents();
    }

    std::shared_ptr<Outcome> begin(ScreenCrop crop, std::uint32_t display = displayID) {
        auto outcome = std::make_shared<Outcome>();
        task = TaskHandle::start([this, crop, display, outcome](std::stop_token stop) {
            return record(&*service, display, crop, outcome, std::move(stop));
        });
        return outcome;
    }

    Outcome capture(ScreenCrop crop = ScreenCrop::none, std::uint32_t display = displayID) {
        const auto outcome = begin(crop, display);
        EXPECT_TRUE(test::waitUntil([&] { return outcome->done; }));
        return *outcome;
    }

    void useScale(double scale) { displayServer.setDisplays({{displayID, frame, scale, true}}); }

    StillRequest onlyRequest() const {
        const auto requests = displayServer.stillRequests();
        EXPECT_EQ(requests.size(), 1U);
        return requests.empty() ? StillRequest() : requests.front();
    }

    FakeDisplayServer displayServer;
    QThreadPool pool;
    std::optional<ScreenCaptureService> service{std::in_place, displayServer, pool, ownProcess};
    LogCapture log;
    TaskHandle task;
};

TEST_F(ScreenCaptureServiceTest, WholeDisplayAtScaleTwo) {
    useScale(2);
    const Outcome outcome = capture(ScreenCrop::visibleFrame);
    ASSERT_TRUE(outcome.screen);
    EXPECT_EQ(outcome.screen->image.size(), QSize(2880, 1800));
    EXPECT_EQ(outcome.screen->pointPixelScale, 2);
    EXPECT_EQ(outcome.screen->contentRect, frame);
    EXPECT_EQ(outcome.screen->displayID, displayID);
    const StillRequest request = onlyRequest();
    EXPECT_EQ(request.displayID, displayID);
    EXPECT_EQ(request.excludedProcessID, ownProcess);
    EXPECT_EQ(request.sourceRect, std::nullopt);
    EXPECT_EQ(request.size, (PixelSize{2880, 1800}));
    EXPECT_EQ(log.texts("capture"),
              (std::vector<std::string>{
                  "Capture requested; display=1 cropToVisibleFrame=1",
                  "Capture configured; scale=2.000000 pixelWidth=2880 pixelHeight=1800 cropped=0",
                  "Capture produced an image; pixelWidth=2880 pixelHeight=1800"}));
}

TEST_F(ScreenCaptureServiceTest, MenuBarIsCroppedAtTheTop) {
    useScale(2);
    displayServer.setVisibleFrame(displayID, Rect{0, 0, 1440, 875});
    const Outcome outcome = capture(ScreenCrop::visibleFrame);
    ASSERT_TRUE(outcome.screen);
    EXPECT_EQ(outcome.screen->contentRect, (Rect{0, 25, 1440, 875}));
    EXPECT_EQ(outcome.screen->image.size(), QSize(2880, 1750));
    EXPECT_EQ(onlyRequest().sourceRect, (Rect{0, 25, 1440, 875}));
    EXPECT_EQ(onlyRequest().size, (PixelSize{2880, 1750}));
    EXPECT_EQ(log.texts("capture")[1],
              "Capture configured; scale=2.000000 pixelWidth=2880 pixelHeight=1750 cropped=1");
}

TEST_F(ScreenCaptureServiceTest, LinesAreLoggedAtTheirLevels) {
    capture();
    EXPECT_EQ(log.count("capture", LogLevel::standard,
                        "Capture requested; display=1 cropToVisibleFrame=0"),
              1);
    EXPECT_EQ(log.count("capture", LogLevel::debug,
                        "Capture configured; scale=1.000000 pixelWidth=1440 pixelHeight=900 "
                        "cropped=0"),
              1);
    EXPECT_EQ(log.count("capture", LogLevel::debug,
                        "Capture produced an image; pixelWidth=1440 pixelHeight=900"),
              1);
    EXPECT_EQ(log.lines().size(), 3U);
}

TEST_F(ScreenCaptureServiceTest, ImagesOwnSizeIsLoggedAndTheImageKept) {
    QImage image(7, 5, QImage::Format_RGB32);
    image.fill(Qt::red);
    displayServer.setImage(image);
    const Outcome outcome = capture();
    ASSERT_TRUE(outcome.screen);
    EXPECT_EQ(outcome.screen->image, image);
    EXPECT_EQ(log.texts("capture").back(), "Capture produced an image; pixelWidth=7 pixelHeight=5");
}

TEST_F(ScreenCaptureServiceTest, PixelsRoundHalfAwayFromZeroAndNeverBelowOne) {
    displayServer.setDisplays({{displayID, Rect{0, 0, 3, 0.2}, 1.5, true}});
    capture();
    EXPECT_EQ(onlyRequest().size, (PixelSize{5, 1})); // 4.5 and 0.3
}

TEST_F(ScreenCaptureServiceTest, PermissionComesBeforeEverything) {
    displayServer.setPermission(false);
    const Outcome outcome = capture(ScreenCrop::visibleFrame);
    EXPECT_EQ(outcome.error, LumivaneError::Case::screenRecordingDenied);
    EXPECT_EQ(log.count("capture", LogLevel::error,
                        "Capture blocked because Screen Recording permission is missing"),
              1);
    EXPECT_EQ(log.lines().size(), 2U);
    FakeDisplayServer::Counts asked;
    asked.mayCapture = 1;
    EXPECT_EQ(displayServer.counts(), asked);
}

TEST_F(ScreenCaptureServiceTest, UnknownDisplayIsUnavailable) {
    const Outcome outcome = capture(ScreenCrop::visibleFrame, 99);
    EXPECT_EQ(outcome.error, LumivaneError::Case::displayUnavailable);
    EXPECT_EQ(log.texts("capture").front(), "Capture requested; display=99 cropToVisibleFrame=1");
    EXPECT_EQ(log.count("capture", LogLevel::error, "Requested display is unavailable"), 1);
    EXPECT_EQ(displayServer.counts().still, 0);
    EXPECT_EQ(displayServer.counts().visibleFrame, 0);
}

TEST_F(ScreenCaptureServiceTest, NoDisplayAtAllIsUnavailable) {
    displayServer.setDisplays({});
    EXPECT_EQ(capture().error, LumivaneError::Case::displayUnavailable);
}

TEST_F(ScreenCaptureServiceTest, UnusableScaleOrSizeFails) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<std::pair<Rect, double>> unusable{
        {frame, 0},           {frame, -1},          {frame, nan},          {{0, 0, 0, 900}, 1},
        {{0, 0, 1440, 0}, 1}, {{0, 0, -5, 900}, 1}, {{0, 0, 1440, -5}, 1}, {{0, 0, nan, 900}, 1}};
    for (const auto& [area, scale] : unusable) {
        displayServer.setDisplays({{displayID, area, scale, true}});
        EXPECT_EQ(capture(ScreenCrop::visibleFrame).error, LumivaneError::Case::captureFailed);
    }
    EXPECT_EQ(
        log.count("capture", LogLevel::error, "Capture filter reported an unusable content rect"),
        static_cast<int>(unusable.size()));
    EXPECT_EQ(displayServer.counts().still, 0);
    EXPECT_EQ(displayServer.counts().visibleFrame, 0);
}

TEST_F(ScreenCaptureServiceTest, ErrorsOfTheServerArePassedOnUnchanged) {
    displayServer.failDisplays("no list");
    EXPECT_EQ(capture().serverError, "no list");
    displayServer.failDisplays(std::nullopt);
    displayServer.failStill("no frame");
    EXPECT_EQ(capture().serverError, "no frame");
    EXPECT_FALSE(log.holds("no list"));
    EXPECT_FALSE(log.holds("no frame"));
    EXPECT_EQ(log.countStartingWith("Capture produced"), 0);
}

TEST_F(ScreenCaptureServiceTest, WithoutCropTheVisibleFrameIsNeverRead) {
    displayServer.setVisibleFrame(displayID, Rect{0, 0, 1440, 875});
    const Outcome outcome = capture(ScreenCrop::none);
    EXPECT_EQ(outcome.screen->contentRect, frame);
    EXPECT_EQ(displayServer.counts().visibleFrame, 0);
}

TEST_F(ScreenCaptureServiceTest, VisibleFrameIsReadOnTheMainThreadAndTheStillIsNot) {
    capture(ScreenCrop::visibleFrame);
    EXPECT_EQ(displayServer.counts().visibleFrame, 1);
    EXPECT_EQ(displayServer.counts().visibleFrameOffMainThread, 0);
    EXPECT_EQ(displayServer.counts().still, 1);
    EXPECT_EQ(displayServer.counts().stillOnMainThread, 0);
}

TEST_F(ScreenCaptureServiceTest, DisplayDetachedBeforeTheCropIsTakenWhole) {
    displayServer.setVisibleFrame(displayID, std::nullopt);
    const Outcome outcome = capture(ScreenCrop::visibleFrame);
    ASSERT_TRUE(outcome.screen);
    EXPECT_EQ(outcome.screen->contentRect, frame);
    EXPECT_EQ(log.count("capture", LogLevel::debug,
                        "Chrome crop skipped; the display is no longer attached"),
              1);
}

TEST_F(ScreenCaptureServiceTest, CropThatCostsTooMuchIsNotTaken) {
    displayServer.setVisibleFrame(displayID, Rect{0, 0, 1440, 450});
    const Outcome outcome = capture(ScreenCrop::visibleFrame);
    ASSERT_TRUE(outcome.screen);
    EXPECT_EQ(outcome.screen->contentRect, frame);
    EXPECT_EQ(onlyRequest().sourceRect, std::nullopt);
    EXPECT_EQ(log.count("capture", LogLevel::standard,
                        "Chrome crop skipped; it would remove too much area; keptPercent=50"),
              1);
}

TEST_F(ScreenCaptureServiceTest, CropOfASecondDisplayStartsAtItsOwnCorner) {
    displayServer.setDisplays(
        {{displayID, frame, 1, true}, {2, Rect{1440, -180, 1920, 1080}, 1, false}});
    displayServer.setVisibleFrame(2, Rect{1440, -140, 1920, 1000});
    const Outcome outcome = capture(ScreenCrop::visibleFrame, 2);
    ASSERT_TRUE(outcome.screen);
    EXPECT_EQ(outcome.screen->contentRect, (Rect{0, 40, 1920, 1000}));
    EXPECT_EQ(outcome.screen->displayID, 2U);
}

TEST_F(ScreenCaptureServiceTest, CancelledBeforeAsksTheServerNothingMore) {
    const auto outcome = begin(ScreenCrop::none);
    task.cancel();
    EXPECT_TRUE(test::waitUntil([&] { return outcome->done; }));
    EXPECT_TRUE(outcome->cancelled);
    EXPECT_EQ(displayServer.counts().displays, 0);
}

TEST_F(ScreenCaptureServiceTest, CancelledDuringTheFrameEndsAtOnce) {
    displayServer.holdStills();
    const auto outcome = begin(ScreenCrop::none);
    ASSERT_TRUE(test::waitUntil([&] { return displayServer.counts().still == 1; }));
    task.cancel();
    EXPECT_TRUE(test::waitUntil([&] { return outcome->done; }));
    EXPECT_TRUE(outcome->cancelled);
    EXPECT_EQ(log.countStartingWith("Capture produced"), 0);
}

TEST_F(ScreenCaptureServiceTest, CaptureOutlivesItsService) {
    displayServer.holdStills();
    const auto outcome = begin(ScreenCrop::none);
    ASSERT_TRUE(test::waitUntil([&] { return displayServer.counts().still == 1; }));
    service.reset();
    displayServer.releaseStills();
    EXPECT_TRUE(test::waitUntil([&] { return outcome->done; }));
    EXPECT_TRUE(outcome->screen);
}

class ChromeCropTest : public testing::Test {
protected:
    static std::optional<Rect> crop(const Rect& visibleFrame, const Rect& whole = frame) {
        return ScreenCaptureService::chromeCropRect(whole, visibleFrame,
                                                    {0, 0, whole.width, whole.height});
    }

    LogCapture log;
};

TEST_F(ChromeCropTest, DockOnTheLeftMovesTheCrop) {
    EXPECT_EQ(crop({70, 0, 1370, 900}), (Rect{70, 0, 1370, 900}));
    EXPECT_EQ(crop({70, 0, 1370, 875}), (Rect{70, 25, 1370, 875}));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ChromeCropTest, DockAtTheBottomLeavesTheOrigin) {
    EXPECT_EQ(crop({0, 60, 1440, 840}), (Rect{0, 0, 1440, 840}));
}

TEST_F(ChromeCropTest, PositionOfTheDisplayDoesNotMatter) {
    EXPECT_EQ(crop({-1370, 500, 1370, 875}, {-1440, 500, 1440, 900}), (Rect{70, 25, 1370, 875}));
}

TEST_F(ChromeCropTest, NothingToCropIsSilent) {
    EXPECT_EQ(crop(frame), std::nullopt);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ChromeCropTest, KeepingExactly85PercentIsUsed) {
    EXPECT_EQ(crop({0, 0, 1440, 765}), (Rect{0, 135, 1440, 765}));
    EXPECT_EQ(crop({0, 0, 85, 1000}, {0, 0, 100, 1000}), (Rect{0, 0, 85, 1000}));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(ChromeCropTest, Keeping84Point9PercentIsRefusedAndLogs85) {
    EXPECT_EQ(crop({0, 0, 849, 900}, {0, 0, 1000, 900}), std::nullopt);
    EXPECT_EQ(log.count("capture", LogLevel::standard,
                        "Chrome crop skipped; it would remove too much area; keptPercent=85"),
              1);
    EXPECT_EQ(crop({0, 0, 844, 900}, {0, 0, 1000, 900}), std::nullopt);
    EXPECT_EQ(log.texts("capture").back(),
              "Chrome crop skipped; it would remove too much area; keptPercent=84");
}

TEST_F(ChromeCropTest, KeptAreaIsThatOfTheIntersection) {
    EXPECT_EQ(crop({-500, 0, 1600, 900}), std::nullopt); // 1100 of 1440 columns
    EXPECT_EQ(log.texts("capture").back(),
              "Chrome crop skipped; it would remove too much area; keptPercent=76");
    EXPECT_EQ(crop({-500, 0, 1900, 900}), (Rect{0, 0, 1400, 900}));
}

TEST_F(ChromeCropTest, DegenerateRectanglesAreRefused) {
    const Rect flat{0, 0, 1440, 0};
    const Rect negative{0, 0, -1440, 900};
    const Rect visible{0, 0, 1440, 875};
    using Service = ScreenCaptureService;
    EXPECT_EQ(Service::chromeCropRect(flat, visible, frame), std::nullopt);
    EXPECT_EQ(Service::chromeCropRect(negative, visible, frame), std::nullopt);
    EXPECT_EQ(Service::chromeCropRect(frame, flat, frame), std::nullopt);
    EXPECT_EQ(Service::chromeCropRect(frame, negative, frame), std::nullopt);
    EXPECT_EQ(Service::chromeCropRect(frame, visible, flat), std::nullopt);
    EXPECT_EQ(Service::chromeCropRect(frame, visible, negative), std::nullopt);
    // Looked at before equality, which would be silent.
    EXPECT_EQ(Service::chromeCropRect(flat, flat, frame), std::nullopt);
    EXPECT_EQ(log.count("capture", LogLevel::debug,
                        "Chrome crop skipped; the visible frame is degenerate"),
              7);
    EXPECT_EQ(log.lines().size(), 7U);
}

TEST_F(ChromeCropTest, VisibleFrameOutsideOfTheContentIsRefused) {
    EXPECT_EQ(crop({1440, 0, 1440, 900}), std::nullopt); // touches, but shares no area
    EXPECT_EQ(crop({0, -2000, 1440, 900}), std::nullopt);
    EXPECT_EQ(log.count("capture", LogLevel::debug,
                        "Chrome crop skipped; the visible frame falls outside the captured "
                        "content"),
              2);
}

} // namespace lumivane
