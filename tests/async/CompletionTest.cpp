#include "async/Completion.h"

#include "AwaitOutcome.h"
#include "support/EventLoop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

namespace lumivane {

using test::AwaitOutcome;
using test::drainEvents;
using test::Nothing;
using test::startObserving;
using test::waitUntil;

namespace {

/// Construction from a number of 0 throws.
struct Picky {
    explicit Picky(int number)
        : number(number) {
        if (number == 0) {
            throw std::runtime_error("picky");
        }
    }

    int number;
};

} // namespace

class CompletionTest : public testing::Test {
protected:
    void wait() { startObserving(completion.wait(source.get_token()), outcome); }

    Completion<int> completion;
    std::stop_source source;
    AwaitOutcome<int> outcome;
};

TEST_F(CompletionTest, SettledBeforeTheWaitIsReadyAtOnce) {
    completion.resolve(7);
    wait();
    EXPECT_FALSE(outcome.suspended);
    EXPECT_EQ(outcome.value, 7);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(CompletionTest, ResumesInALaterTurnAndNeverInsideResolve) {
    wait();
    EXPECT_TRUE(outcome.suspended);
    completion.resolve(7);
    EXPECT_TRUE(outcome.isPending());
    drainEvents();
    EXPECT_EQ(outcome.value, 7);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(CompletionTest, CancelledBeforeTheWaitEndsAtOnceWithCancelled) {
    source.request_stop();
    wait();
    EXPECT_FALSE(outcome.suspended);
    EXPECT_EQ(outcome.cancellations, 1);
    completion.resolve(7);
    drainEvents();
    EXPECT_EQ(outcome.resumptions, 1);
    EXPECT_FALSE(outcome.value);
}

TEST_F(CompletionTest, CancelledDuringTheWaitResumesInALaterTurnAndNeverInsideRequestStop) {
    wait();
    source.request_stop();
    EXPECT_TRUE(outcome.isPending());
    drainEvents();
    EXPECT_EQ(outcome.cancellations, 1);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(CompletionTest, CancelledIsNotCaughtByAHandlerForErrors) {
    wait();
    source.request_stop();
    drainEvents();
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.cancellations, 1);
    static_assert(!std::is_base_of_v<std::exception, Cancelled>);
}

TEST_F(CompletionTest, AValueThatIsThereBeforeTheStopWins) {
    wait();
    completion.resolve(7);
    source.request_stop();
    drainEvents();
    EXPECT_EQ(outcome.value, 7);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(CompletionTest, AStopBeforeTheValueWins) {
    wait();
    source.request_stop();
    completion.resolve(7);
    drainEvents();
    EXPECT_EQ(outcome.cancellations, 1);
    EXPECT_FALSE(outcome.value);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(CompletionTest, OnlyTheFirstOutcomeCounts) {
    wait();
    completion.resolve(7);
    completion.resolve(8);
    completion.failWith(std::runtime_error("late"));
    completion.cancel();
    drainEvents();
    EXPECT_EQ(outcome.value, 7);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(CompletionTest, AnErrorPassesWithItsOwnType) {
    wait();
    completion.failWith(std::invalid_argument("broken"));
    EXPECT_TRUE(outcome.isPending());
    drainEvents();
    EXPECT_EQ(outcome.error, "broken");
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(CompletionTest, AnErrorBeforeTheWaitIsReadyAtOnce) {
    completion.fail(std::make_exception_ptr(std::runtime_error("early")));
    wait();
    EXPECT_FALSE(outcome.suspended);
    EXPECT_EQ(outcome.error, "early");
}

TEST_F(CompletionTest, CancellingByHandEndsTheWaitLikeAStop) {
    wait();
    completion.cancel();
    drainEvents();
    EXPECT_EQ(outcome.cancellations, 1);
}

TEST_F(CompletionTest, AStopAfterTheEndIsHarmless) {
    wait();
    completion.resolve(7);
    drainEvents();
    source.request_stop();
    drainEvents();
    EXPECT_EQ(outcome.value, 7);
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST_F(CompletionTest, AWaitWithoutAStopTokenIsFine) {
    startObserving(completion.wait({}), outcome);
    EXPECT_TRUE(outcome.suspended);
    completion.resolve(7);
    drainEvents();
    EXPECT_EQ(outcome.value, 7);
}

TEST_F(CompletionTest, ResolvedFromAWorkerResumesOnTheMainThread) {
    wait();
    std::jthread worker([completion = completion] { completion.resolve(7); });
    worker.join();
    EXPECT_TRUE(outcome.isPending());
    EXPECT_TRUE(waitUntil([this] { return !outcome.isPending(); }));
    EXPECT_EQ(outcome.value, 7);
    EXPECT_TRUE(outcome.onMainThread);
}

TEST_F(CompletionTest, StoppedFromAWorkerResumesOnTheMainThread) {
    wait();
    std::jthread worker([source = source]() mutable { source.request_stop(); });
    worker.join();
    EXPECT_TRUE(outcome.isPending());
    EXPECT_TRUE(waitUntil([this] { return !outcome.isPending(); }));
    EXPECT_EQ(outcome.cancellations, 1);
    EXPECT_TRUE(outcome.onMainThread);
}

TEST_F(CompletionTest, TheOwnerOfTheCallbackSideMayGo) {
    auto owner = std::make_unique<Completion<int>>();
    startObserving(owner->wait(source.get_token()), outcome);
    owner.reset();
    drainEvents();
    EXPECT_TRUE(outcome.isPending());
    source.request_stop();
    drainEvents();
    EXPECT_EQ(outcome.cancellations, 1);
}

TEST_F(CompletionTest, AnAwaiterThatIsNeverAwaitedLeavesNothingBehind) {
    { const auto awaiter = completion.wait(source.get_token()); }
    source.request_stop();
    completion.resolve(7);
    startObserving(completion.wait({}), outcome);
    EXPECT_EQ(outcome.value, 7);
}

TEST(Completion, VoidResolvesFailsAndCancels) {
    for (const int way : {0, 1, 2}) {
        const Completion<void> completion;
        AwaitOutcome<Nothing> outcome;
        startObserving(completion.wait({}), outcome);
        switch (way) {
        case 0:
            completion.resolve();
            break;
        case 1:
            completion.failWith(std::runtime_error("broken"));
            break;
        default:
            completion.cancel();
        }
        EXPECT_TRUE(outcome.isPending());
        drainEvents();
        EXPECT_EQ(outcome.value.has_value(), way == 0);
        EXPECT_EQ(outcome.error, way == 1 ? "broken" : "");
        EXPECT_EQ(outcome.cancellations, way == 2 ? 1 : 0);
    }
}

TEST(Completion, CarriesValuesThatCanOnlyBeMoved) {
    const Completion<std::unique_ptr<int>> completion;
    AwaitOutcome<std::unique_ptr<int>> outcome;
    startObserving(completion.wait({}), outcome);
    completion.resolve(std::make_unique<int>(7));
    drainEvents();
    ASSERT_TRUE(outcome.value && *outcome.value);
    EXPECT_EQ(**outcome.value, 7);
}

TEST(Completion, AValueWhoseConstructionThrowsSettlesWithWhatItThrew) {
    const Completion<Picky> completion;
    AwaitOutcome<Picky> outcome;
    startObserving(completion.wait({}), outcome);
    completion.resolve(0);
    drainEvents();
    EXPECT_EQ(outcome.error, "picky");
    completion.resolve(1);
    drainEvents();
    EXPECT_EQ(outcome.resumptions, 1);
}

TEST(Completion, AStopThatRacesWithAValueResumesExactlyOnce) {
    constexpr int rounds = 400;
    int values = 0;
    int cancellations = 0;
    for (int round = 0; round < rounds; ++round) {
        const Completion<int> completion;
        std::stop_source source;
        AwaitOutcome<int> outcome;
        startObserving(completion.wait(source.get_token()), outcome);
        std::latch begin(2);
        std::jthread resolver([&begin, completion, round] {
            begin.arrive_and_wait();
            completion.resolve(round);
        });
        std::jthread stopper([&begin, &source] {
            begin.arrive_and_wait();
            source.request_stop();
        });
        ASSERT_TRUE(waitUntil([&outcome] { return !outcome.isPending(); }));
        resolver.join();
        stopper.join();
        drainEvents();
        ASSERT_EQ(outcome.resumptions, 1);
        ASSERT_EQ((outcome.value == round ? 1 : 0) + outcome.cancellations, 1);
        values += outcome.value ? 1 : 0;
        cancellations += outcome.cancellations;
    }
    EXPECT_EQ(values + cancellations, rounds);
}

TEST(Completion, AValueThatRacesWithTheBeginningOfTheWaitIsNotLost) {
    constexpr int rounds = 400;
    for (int round = 0; round < rounds; ++round) {
        const Completion<int> completion;
        const std::stop_source source;
        AwaitOutcome<int> outcome;
        std::latch begin(2);
        std::jthread resolver([&begin, completion, round] {
            begin.arrive_and_wait();
            completion.resolve(round);
        });
        begin.arrive_and_wait();
        startObserving(completion.wait(source.get_token()), outcome);
        ASSERT_TRUE(waitUntil([&outcome] { return !outcome.isPending(); }));
        ASSERT_EQ(outcome.value, round);
        ASSERT_EQ(outcome.resumptions, 1);
    }
}

TEST(MainThread, KnowsItself) {
    EXPECT_TRUE(isMainThread());
    std::atomic<bool> onWorker = true;
    std::jthread([&onWorker] { onWorker = isMainThread(); }).join();
    EXPECT_FALSE(onWorker);
}

TEST(MainThread, PostedWorkRunsLaterAndInOrder) {
    std::vector<int> order;
    postToMainThread([&order] {
        order.push_back(1);
        postToMainThread([&order] { order.push_back(3); });
    });
    postToMainThread([&order] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    drainEvents();
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

} // namespace lumivane
