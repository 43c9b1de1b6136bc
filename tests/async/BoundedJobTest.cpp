#include "async/BoundedJob.h"

#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

namespace lumivane {

using namespace std::chrono_literals;
using test::drainEvents;
using test::waitUntil;

namespace {

/// Works until it is asked to stop.
int workForEver(const std::stop_token& stop, std::atomic<bool>& begun, std::atomic<bool>& ended) {
    begun = true;
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any never;
    never.wait(lock, stop, [] { return false; });
    ended = true;
    return 1;
}

} // namespace

class BoundedJobTest : public testing::Test {
protected:
    BoundedJobTest() { pool.setMaxThreadCount(1); }

    ~BoundedJobTest() override {
        source.request_stop();
        drainEvents();
        pool.waitForDone();
    }

    auto startForEver() {
        const auto job = [this](const std::stop_token& stop) {
            return workForEver(stop, begun, ended);
        };
        return test::watch(runOnPoolWithin(clock, 2s, pool, job, source.get_token()));
    }

    test::ManualClock clock;
    std::stop_source source;
    std::atomic<bool> begun = false;
    std::atomic<bool> ended = false;
    QThreadPool pool;
};

TEST_F(BoundedJobTest, AResultInTimeIsHandedOn) {
    const auto job = [](const std::stop_token&) { return 7; };
    const auto outcome = test::outcomeOf(runOnPoolWithin(clock, 2s, pool, job, source.get_token()));
    ASSERT_TRUE(outcome.value);
    EXPECT_EQ(*outcome.value, std::optional(7));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(BoundedJobTest, AFailureIsHandedOn) {
    const auto job = [](const std::stop_token&) -> int { throw std::runtime_error("no"); };
    const auto outcome = test::outcomeOf(runOnPoolWithin(clock, 2s, pool, job, source.get_token()));
    EXPECT_TRUE(outcome.errorAs<std::runtime_error>());
}

TEST_F(BoundedJobTest, AtTheLimitThereIsNoneAndTheJobIsAskedToStop) {
    const auto outcome = startForEver();
    ASSERT_TRUE(waitUntil([this] { return begun.load(); }));
    clock.advance(2s - 1ns);
    EXPECT_FALSE(outcome->hasEnded());
    EXPECT_FALSE(ended);
    clock.advance(1ns);
    drainEvents();
    ASSERT_TRUE(outcome->value);
    EXPECT_EQ(*outcome->value, std::nullopt);
    EXPECT_TRUE(waitUntil([this] { return ended.load(); }));
}

TEST_F(BoundedJobTest, TheLimitHoldsForAJobThatWaitsForAWorker) {
    startForEver();
    ASSERT_TRUE(waitUntil([this] { return begun.load(); }));
    std::stop_source otherSource;
    std::atomic<bool> otherBegun = false;
    const auto job = [&otherBegun](const std::stop_token&) {
        otherBegun = true;
        return 2;
    };
    const auto other = test::watch(runOnPoolWithin(clock, 1s, pool, job, otherSource.get_token()));
    clock.advance(1s);
    drainEvents();
    ASSERT_TRUE(other->value);
    EXPECT_EQ(*other->value, std::nullopt);
    source.request_stop();
    pool.waitForDone();
    EXPECT_FALSE(otherBegun);
}

TEST_F(BoundedJobTest, ARequestedStopIsNotTheLimit) {
    const auto outcome = startForEver();
    ASSERT_TRUE(waitUntil([this] { return begun.load(); }));
    source.request_stop();
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_TRUE(waitUntil([this] { return ended.load(); }));
}

TEST_F(BoundedJobTest, AStopBeforehandBeginsNothing) {
    source.request_stop();
    const auto outcome = startForEver();
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    pool.waitForDone();
    EXPECT_FALSE(begun);
}

} // namespace lumivane
