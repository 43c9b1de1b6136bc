#include "screen/ScreenCaptureWarmUp.h"

#include "async/TaskHandle.h"
#include "support/EventLoop.h"
#include "support/FakeDisplayServer.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace lumivane {

using namespace std::chrono_literals;
using test::FakeDisplayServer;

namespace {

constexpr std::int64_t ownProcess = 4711;

QCoro::Task<void> record(CaptureWarming* warming, std::shared_ptr<int> done) {
    co_await warming->warmUp();
    ++*done;
}

} // namespace

class ScreenCaptureWarmUpTest : public testing::Test {
protected:
    ~ScreenCaptureWarmUpTest() override {
        displayServer.releaseStills();
        pool.waitForDone();
        test::drainEvents();
    }

    void begin() {
        ++begun;
        TaskHandle::detach([this](std::stop_token) { return record(&*warmUp, done); });
        test::drainEvents();
    }

    void run() {
        begin();
        ASSERT_TRUE(test::waitUntil([this] { return *done == begun; }));
    }

    int asked() const { return displayServer.counts().displays; }

    FakeDisplayServer displayServer;
    QThreadPool pool;
    test::ManualClock clock;
    std::optional<ScreenCaptureWarmUp> warmUp{std::in_place, displayServer, pool, clock,
                                              ownProcess};
    test::LogCapture log;
    std::shared_ptr<int> done = std::make_shared<int>(0);
    int begun = 0;
};

TEST_F(ScreenCaptureWarmUpTest, AsksForTheContentOffTheMainThreadInsideASignpost) {
    run();
    EXPECT_EQ(asked(), 1);
    ASSERT_EQ(displayServer.stillRequests().size(), 1U);
    const StillRequest request = displayServer.stillRequests().front();
    EXPECT_EQ(request.displayID, FakeDisplayServer::firstDisplayID);
    EXPECT_EQ(request.excludedProcessID, ownProcess);
    EXPECT_EQ(request.size, (PixelSize{1, 1}));
    EXPECT_EQ(displayServer.counts().stillOnMainThread, 0);
    EXPECT_EQ(log.intervals(), (std::vector<std::string>{"begin warmUp", "end warmUp"}));
    EXPECT_EQ(log.count("capture", LogLevel::debug,
                        "Capture path warm-up finished; succeeded=1 durationMS=0"),
              1);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(ScreenCaptureWarmUpTest, LogsHowLongItTook) {
    displayServer.holdStills();
    begin();
    ASSERT_TRUE(test::waitUntil([this] { return displayServer.counts().still == 1; }));
    clock.advance(37ms);
    displayServer.releaseStills();
    ASSERT_TRUE(test::waitUntil([this] { return *done == 1; }));
    EXPECT_EQ(log.texts("capture"),
              std::vector<std::string>{"Capture path warm-up finished; succeeded=1 durationMS=37"});
}

TEST_F(ScreenCaptureWarmUpTest, TwiceWithinTwoSecondsAsksOnce) {
    run();
    clock.advance(2s - 1ns);
    run();
    EXPECT_EQ(asked(), 1);
    EXPECT_EQ(log.lines().size(), 1U);
    clock.advance(1ns);
    run();
    EXPECT_EQ(asked(), 2);
}

TEST_F(ScreenCaptureWarmUpTest, IntervalCountsFromTheLastAttemptAndNotFromItsEnd) {
    displayServer.holdStills();
    begin();
    ASSERT_TRUE(test::waitUntil([this] { return displayServer.counts().still == 1; }));
    clock.advance(5s);
    displayServer.releaseStills();
    ASSERT_TRUE(test::waitUntil([this] { return *done == 1; }));
    run();
    EXPECT_EQ(asked(), 2);
}

TEST_F(ScreenCaptureWarmUpTest, RefusedCallsDoNotPushTheIntervalOn) {
    run();
    clock.advance(1s);
    run();
    clock.advance(1s);
    run();
    EXPECT_EQ(asked(), 2);
}

TEST_F(ScreenCaptureWarmUpTest, OverlappingCallDoesNothingHoweverLate) {
    displayServer.holdStills();
    begin();
    ASSERT_TRUE(test::waitUntil([this] { return displayServer.counts().still == 1; }));
    clock.advance(10s);
    begin();
    EXPECT_TRUE(test::waitUntil([this] { return *done == 1; })); // the second one is through
    EXPECT_EQ(asked(), 1);
    displayServer.releaseStills();
    ASSERT_TRUE(test::waitUntil([this] { return *done == 2; }));
    run();
    EXPECT_EQ(asked(), 2);
}

TEST_F(ScreenCaptureWarmUpTest, WithoutPermissionNothingIsAskedAndNoAttemptCounted) {
    displayServer.setPermission(false);
    run();
    EXPECT_EQ(asked(), 0);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(log.intervals().empty());
    displayServer.setPermission(true);
    run(); // at the same moment: only an attempt would have held it up
    EXPECT_EQ(asked(), 1);
}

TEST_F(ScreenCaptureWarmUpTest, ErrorCountsAsNotSucceededAndIsNotShown) {
    displayServer.failDisplays("secret words");
    run();
    displayServer.failDisplays(std::nullopt);
    displayServer.failStill("secret words");
    clock.advance(2s);
    run();
    EXPECT_EQ(log.count("capture", LogLevel::debug,
                        "Capture path warm-up finished; succeeded=0 durationMS=0"),
              2);
    EXPECT_FALSE(log.holds("secret"));
    EXPECT_EQ(log.intervals().size(), 4U);
}

TEST_F(ScreenCaptureWarmUpTest, FailureHoldsUpTheNextOneLikeSuccess) {
    displayServer.failDisplays("gone");
    run();
    clock.advance(1s);
    run();
    EXPECT_EQ(asked(), 1);
    clock.advance(1s);
    run();
    EXPECT_EQ(asked(), 2);
}

TEST_F(ScreenCaptureWarmUpTest, WithoutDisplaysThereIsNothingToTouch) {
    displayServer.setDisplays({});
    run();
    EXPECT_EQ(displayServer.counts().still, 0);
    EXPECT_EQ(log.countStartingWith("Capture path warm-up finished; succeeded=1"), 1);
}

TEST_F(ScreenCaptureWarmUpTest, MayBeDestroyedWhileItWarms) {
    displayServer.holdStills();
    begin();
    ASSERT_TRUE(test::waitUntil([this] { return displayServer.counts().still == 1; }));
    warmUp.reset();
    displayServer.releaseStills();
    EXPECT_TRUE(test::waitUntil([this] { return *done == 1; }));
}

} // namespace lumivane
