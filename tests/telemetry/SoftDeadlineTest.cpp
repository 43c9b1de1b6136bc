#include "telemetry/SoftDeadline.h"

#include "support/EventLoop.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <optional>

namespace lumivane {

using namespace std::chrono_literals;
using test::ManualClock;

class SoftDeadlineTest : public testing::Test {
protected:
    /// A deadline that a test left running ends with it.
    ~SoftDeadlineTest() override {
        deadline.reset();
        test::drainEvents();
    }

    void arm(std::chrono::nanoseconds delay = 5s) {
        deadline->arm(delay, [this] { ++elapsed; });
        test::drainEvents();
    }

    ManualClock clock;
    std::optional<SoftDeadline> deadline{std::in_place, clock};
    int elapsed = 0;
};

TEST_F(SoftDeadlineTest, FiresOnceAtItsTimeAndStaysArmed) {
    arm();
    clock.advance(5s - 1ns);
    EXPECT_EQ(elapsed, 0);
    EXPECT_FALSE(deadline->hasElapsed());
    clock.advance(1ns);
    EXPECT_EQ(elapsed, 1);
    EXPECT_TRUE(deadline->hasElapsed());
    EXPECT_TRUE(deadline->isArmed());
    clock.advance(60s);
    EXPECT_EQ(elapsed, 1);
}

TEST_F(SoftDeadlineTest, ArmingTwiceStartsOneDeadline) {
    int first = 0;
    deadline->arm(2s, [&first] { ++first; });
    test::drainEvents();
    clock.advance(1s);
    arm(2s);
    clock.advance(60s);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(elapsed, 1);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SoftDeadlineTest, CancelledJustBeforeItsTimeNeverElapses) {
    arm();
    clock.advance(5s - 1ns);
    deadline->cancel();
    EXPECT_FALSE(deadline->isArmed());
    clock.advance(60s);
    EXPECT_EQ(elapsed, 0);
    EXPECT_FALSE(deadline->hasElapsed());
}

TEST_F(SoftDeadlineTest, CancelKeepsHasElapsedAndArmResetsIt) {
    arm();
    clock.advance(5s);
    deadline->cancel();
    EXPECT_TRUE(deadline->hasElapsed());
    arm();
    EXPECT_FALSE(deadline->hasElapsed());
}

TEST_F(SoftDeadlineTest, DestroyedWhileArmedNeverCallsBack) {
    arm();
    deadline.reset();
    clock.advance(60s);
    EXPECT_EQ(elapsed, 0);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SoftDeadlineTest, BeginsIdle) {
    EXPECT_FALSE(deadline->isArmed());
    EXPECT_FALSE(deadline->hasElapsed());
    deadline->cancel();
    EXPECT_FALSE(deadline->isArmed());
}

TEST_F(SoftDeadlineTest, TheRunsDeadlineIsFiveSeconds) { EXPECT_EQ(AnalysisSLO::softDeadline, 5s); }

TEST_F(SoftDeadlineTest, IsArmedFromTheCallOn) {
    deadline->arm(5s, [] {});
    EXPECT_TRUE(deadline->isArmed());
    EXPECT_FALSE(deadline->hasElapsed());
}

TEST_F(SoftDeadlineTest, CancelledBetweenItsTimeAndItsTurnNeverElapses) {
    arm();
    // A second timer of the same instant comes first, since what wakes the deadline is posted.
    std::unique_ptr<ClockTimer> canceller;
    deadline->arm(5s, [this] { ++elapsed; });
    canceller = clock.after(5s, [this] { deadline->cancel(); });
    test::drainEvents();
    clock.advance(5s);
    EXPECT_EQ(elapsed, 0);
    EXPECT_FALSE(deadline->hasElapsed());
}

TEST_F(SoftDeadlineTest, HasElapsedBeforeTheCallbackRuns) {
    bool seen = false;
    deadline->arm(5s, [&] { seen = deadline->hasElapsed(); });
    test::drainEvents();
    clock.advance(5s);
    EXPECT_TRUE(seen);
}

TEST_F(SoftDeadlineTest, TheCallbackMayCancelArmAndDestroy) {
    deadline->arm(1s, [this] { deadline->cancel(); });
    test::drainEvents();
    clock.advance(1s);
    EXPECT_FALSE(deadline->isArmed());
    EXPECT_TRUE(deadline->hasElapsed());

    deadline->arm(1s, [this] { deadline->arm(1s, [this] { ++elapsed; }); });
    test::drainEvents();
    clock.advance(1s);
    EXPECT_TRUE(deadline->isArmed());
    EXPECT_FALSE(deadline->hasElapsed());
    clock.advance(1s);
    EXPECT_EQ(elapsed, 1);

    deadline->arm(1s, [this] { deadline.reset(); });
    test::drainEvents();
    clock.advance(1s);
    EXPECT_FALSE(deadline.has_value());
}

TEST_F(SoftDeadlineTest, ArmingAnElapsedDeadlineStartsAnew) {
    arm();
    clock.advance(5s);
    arm();
    EXPECT_FALSE(deadline->hasElapsed());
    clock.advance(5s);
    EXPECT_EQ(elapsed, 2);
    EXPECT_TRUE(deadline->hasElapsed());
}

} // namespace lumivane
