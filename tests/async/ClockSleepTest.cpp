#include "AwaitOutcome.h"
#include "async/Clock.h"
#include "support/EventLoop.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

namespace lumivane {

using namespace std::chrono_literals;
using test::AwaitOutcome;
using test::ManualClock;
using test::Nothing;
using test::startObserving;

class ClockSleepTest : public testing::Test {
protected:
    void sleep(std::chrono::nanoseconds delay) {
        startObserving(clock->sleep(delay, source.get_token()), outcome);
    }

    std::unique_ptr<ManualClock> clock = std::make_unique<ManualClock>();
    std::stop_source source;
    AwaitOutcome<Nothing> outcome;
};

TEST_F(ClockSleepTest, EndsAtItsTimeAndNotBefore) {
    sleep(5s);
    EXPECT_TRUE(outcome.suspended);
    clock->advance(5s - 1ns);
    EXPECT_TRUE(outcome.isPending());
    clock->advance(1ns);
    EXPECT_TRUE(outcome.value);
    EXPECT_EQ(outcome.resumptions, 1);
    clock->advance(60s);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(ClockSleepTest, NoDelayStillTakesATurn) {
    for (const auto delay : {0ns, -5ns}) {
        AwaitOutcome<Nothing> ended;
        startObserving(clock->sleep(delay, source.get_token()), ended);
        EXPECT_TRUE(ended.suspended);
        clock->advance(0ns);
        EXPECT_TRUE(ended.value);
    }
}

TEST_F(ClockSleepTest, CancelledBeforeEndsAtOnceAndStartsNoTimer) {
    source.request_stop();
    sleep(5s);
    EXPECT_FALSE(outcome.suspended);
    EXPECT_EQ(outcome.cancellations, 1);
    EXPECT_EQ(clock->timerCount(), 0U);
}

TEST_F(ClockSleepTest, CancelledDuringResumesInALaterTurnAndLeavesNoTimer) {
    sleep(5s);
    EXPECT_EQ(clock->timerCount(), 1U);
    source.request_stop();
    EXPECT_TRUE(outcome.isPending());
    test::drainEvents();
    EXPECT_EQ(outcome.cancellations, 1);
    EXPECT_EQ(clock->timerCount(), 0U);
    clock->advance(60s);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(ClockSleepTest, TheClockMayGoDuringTheSleep) {
    sleep(5s);
    clock.reset();
    test::drainEvents();
    EXPECT_TRUE(outcome.isPending());
    source.request_stop();
    test::drainEvents();
    EXPECT_EQ(outcome.cancellations, 1);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(ClockSleepTest, SleepersWakeInOrderOfTheirDeadlines) {
    std::vector<int> order;
    const auto sleeper = [&](std::chrono::nanoseconds delay, int number) {
        return [](Clock* clock, std::chrono::nanoseconds delay, int number,
                  std::vector<int>* order) -> QCoro::Task<void> {
            co_await clock->sleep(delay, {});
            order->push_back(number);
        }(clock.get(), delay, number, &order);
    };
    sleeper(3s, 3);
    sleeper(1s, 1);
    sleeper(2s, 2);
    clock->advance(10s);
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(SecondsToDuration, RoundsToTheNearestNanosecond) {
    EXPECT_EQ(secondsToDuration(0.4), 400ms);
    EXPECT_EQ(secondsToDuration(0.1), 100ms);
    EXPECT_EQ(secondsToDuration(6.0), 6s);
    EXPECT_EQ(secondsToDuration(0.0000000014), 1ns);
    EXPECT_EQ(secondsToDuration(0.0000000016), 2ns);
    EXPECT_EQ(secondsToDuration(0.0), 0ns);
    EXPECT_EQ(secondsToDuration(-0.25), -250ms);
}

TEST(SecondsToDuration, HoldsWhatTheScaleCannotExpress) {
    constexpr auto century = std::chrono::hours(24 * 365 * 100);
    EXPECT_EQ(secondsToDuration(1e300), century);
    EXPECT_EQ(secondsToDuration(std::numeric_limits<double>::infinity()), century);
    EXPECT_EQ(secondsToDuration(-std::numeric_limits<double>::infinity()), -century);
    EXPECT_EQ(secondsToDuration(std::nan("")), 0ns);
}

TEST(MonotonicInstant, DifferenceSumAndOrder) {
    const MonotonicInstant early{2s};
    const MonotonicInstant late = early + 500ms;
    EXPECT_EQ(late - early, 500ms);
    EXPECT_EQ(early - late, -500ms);
    EXPECT_LT(early, late);
    EXPECT_EQ(early, (MonotonicInstant{2000ms}));
}

} // namespace lumivane
