#include "async/PoolJob.h"

#include "AwaitOutcome.h"
#include "support/EventLoop.h"

#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>

namespace lumivane {

using test::AwaitOutcome;
using test::Nothing;
using test::startObserving;
using test::waitUntil;

class PoolJobTest : public testing::Test {
protected:
    PoolJobTest() { pool->setMaxThreadCount(1); }

    template <typename Job>
    void run(Job job) {
        startObserving(runOnPool(*pool, std::move(job), source.get_token()), outcome);
    }

    bool ends() {
        return waitUntil([this] { return !outcome.isPending(); });
    }

    std::unique_ptr<QThreadPool> pool = std::make_unique<QThreadPool>();
    std::stop_source source;
    AwaitOutcome<int> outcome;
};

TEST_F(PoolJobTest, RunsOnAWorkerAndResumesOnTheMainThread) {
    std::atomic<bool> onMain = true;
    run([&onMain](std::stop_token) {
        onMain = isMainThread();
        return 7;
    });
    EXPECT_TRUE(outcome.suspended);
    ASSERT_TRUE(ends());
    EXPECT_FALSE(onMain);
    EXPECT_TRUE(outcome.onMainThread);
    EXPECT_EQ(outcome.value, 7);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(PoolJobTest, AJobThatHasEndedStillResumesInALaterTurn) {
    std::latch open(1); // a job that ends before the flow waits is not waited for
    run([&open](std::stop_token) {
        open.wait();
        return 7;
    });
    open.count_down();
    pool->waitForDone();
    EXPECT_TRUE(outcome.isPending());
    ASSERT_TRUE(ends());
    EXPECT_EQ(outcome.value, 7);
}

TEST_F(PoolJobTest, CancelledBeforeNeverBegins) {
    std::atomic<int> begun = 0;
    source.request_stop();
    run([&begun](std::stop_token) { return ++begun; });
    EXPECT_FALSE(outcome.suspended);
    EXPECT_EQ(outcome.cancellations, 1);
    pool->waitForDone();
    EXPECT_EQ(begun, 0);
}

TEST_F(PoolJobTest, CancelledWhileQueuedEndsAtOnceAndNeverBegins) {
    std::latch open(1);
    std::atomic<int> begun = 0;
    pool->start([&open] { open.wait(); });
    run([&begun](std::stop_token) { return ++begun; });
    source.request_stop();
    EXPECT_TRUE(outcome.isPending());
    test::drainEvents();
    EXPECT_EQ(outcome.cancellations, 1);
    open.count_down();
    pool->waitForDone();
    test::drainEvents();
    EXPECT_EQ(begun, 0);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(PoolJobTest, CancelledDuringEndsTheWaitAtOnceAndDropsTheResult) {
    std::latch begun(1);
    std::latch open(1);
    std::atomic<bool> sawStop = false;
    run([&](std::stop_token stop) {
        begun.count_down();
        open.wait();
        sawStop = stop.stop_requested();
        return 7;
    });
    begun.wait();
    source.request_stop();
    test::drainEvents();
    EXPECT_EQ(outcome.cancellations, 1);
    open.count_down();
    pool->waitForDone();
    test::drainEvents();
    EXPECT_TRUE(sawStop);
    EXPECT_EQ(outcome.resumptions, 1);
    EXPECT_FALSE(outcome.value);
}

TEST_F(PoolJobTest, AJobThatHeedsTheStopEndsWithCancelled) {
    std::latch begun(1);
    run([&begun](std::stop_token stop) -> int {
        begun.count_down();
        while (true) {
            throwIfStopped(stop);
            QThread::yieldCurrentThread();
        }
    });
    begun.wait();
    source.request_stop();
    ASSERT_TRUE(ends());
    pool->waitForDone();
    EXPECT_EQ(outcome.cancellations, 1);
}

TEST_F(PoolJobTest, AnErrorPasses) {
    run([](std::stop_token) -> int { throw std::runtime_error("broken"); });
    ASSERT_TRUE(ends());
    EXPECT_EQ(outcome.error, "broken");
}

TEST_F(PoolJobTest, ACancelledThatTheJobThrowsIsNoError) {
    run([](std::stop_token) -> int { throw Cancelled{}; });
    ASSERT_TRUE(ends());
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.cancellations, 1);
}

TEST_F(PoolJobTest, ThePoolMayGoWhileTheJobRuns) {
    std::latch begun(1);
    run([&begun](std::stop_token) {
        begun.count_down();
        return 7;
    });
    begun.wait();
    pool.reset(); // waits for its workers
    ASSERT_TRUE(ends());
    EXPECT_EQ(outcome.value, 7);
}

TEST_F(PoolJobTest, AJobWithoutAResultEnds) {
    std::atomic<int> runs = 0;
    AwaitOutcome<Nothing> ended;
    startObserving(runOnPool(
                       *pool, [&runs](std::stop_token) { ++runs; }, source.get_token()),
                   ended);
    ASSERT_TRUE(waitUntil([&ended] { return !ended.isPending(); }));
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(ended.value);
}

TEST_F(PoolJobTest, JobsAndResultsMayBeMoveOnly) {
    AwaitOutcome<std::unique_ptr<int>> ended;
    startObserving(runOnPool(
                       *pool,
                       [input = std::make_unique<int>(7)](std::stop_token) mutable {
                           *input += 1;
                           return std::move(input);
                       },
                       source.get_token()),
                   ended);
    ASSERT_TRUE(waitUntil([&ended] { return !ended.isPending(); }));
    ASSERT_TRUE(ended.value && *ended.value);
    EXPECT_EQ(**ended.value, 8);
}

TEST_F(PoolJobTest, WhatAJobOwnsIsGivenBackOnceItHasRun) {
    auto owned = std::make_shared<int>(7);
    const std::weak_ptr<int> watched = owned;
    run([owned = std::move(owned)](std::stop_token) { return *owned; });
    ASSERT_TRUE(ends());
    pool->waitForDone();
    EXPECT_TRUE(watched.expired());
}

TEST_F(PoolJobTest, AStopThatRacesWithTheEndOfAJobResumesExactlyOnce) {
    for (int round = 0; round < 300; ++round) {
        std::stop_source roundSource;
        AwaitOutcome<int> ended;
        startObserving(
            runOnPool(
                *pool, [round](std::stop_token) { return round; }, roundSource.get_token()),
            ended);
        roundSource.request_stop();
        ASSERT_TRUE(waitUntil([&ended] { return !ended.isPending(); }));
        pool->waitForDone();
        test::drainEvents();
        ASSERT_EQ(ended.resumptions, 1);
        ASSERT_EQ((ended.value ? 1 : 0) + ended.cancellations, 1);
    }
}

} // namespace lumivane
