#include "async/TaskHandle.h"

#include "async/Cancelled.h"
#include "async/Completion.h"
#include "support/EventLoop.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace lumivane {

using test::drainEvents;

namespace {

/// What a flow has been through.
struct Trace {
    std::vector<std::string> events;
    Completion<void> gate;
};

QCoro::Task<void> passThroughGate(std::shared_ptr<Trace> trace, std::stop_token stop) {
    trace->events.push_back("begin");
    try {
        co_await trace->gate.wait(stop);
    } catch (const Cancelled&) {
        trace->events.push_back("cancelled");
        throw;
    }
    trace->events.push_back("end");
}

QCoro::Task<void> throwError() {
    throw std::runtime_error("escaped");
    co_return;
}

using Events = std::vector<std::string>;

} // namespace

class TaskHandleTest : public testing::Test {
public:
    TaskHandleTest() {
        TaskHandle::setEscapeHandler([this](std::exception_ptr escaped) {
            try {
                std::rethrow_exception(escaped);
            } catch (const std::exception& error) {
                escapes.push_back(error.what());
            }
        });
    }

    ~TaskHandleTest() override {
        drainEvents();
        TaskHandle::setEscapeHandler([](std::exception_ptr) { std::terminate(); });
    }

protected:
    static TaskHandle start(std::shared_ptr<Trace> trace) {
        return TaskHandle::start([trace = std::move(trace)](std::stop_token stop) {
            return passThroughGate(trace, std::move(stop));
        });
    }

    std::shared_ptr<Trace> trace = std::make_shared<Trace>();
    Events escapes;
};

TEST_F(TaskHandleTest, BeginsInALaterTurnSoThatTheHandleCanBeStoredFirst) {
    std::optional<TaskHandle> stored;
    bool wasStored = false;
    stored = TaskHandle::start([&](std::stop_token stop) {
        wasStored = stored.has_value();
        return passThroughGate(trace, std::move(stop));
    });
    EXPECT_FALSE(wasStored);
    drainEvents();
    EXPECT_TRUE(wasStored);
}

TEST_F(TaskHandleTest, RunsToItsEnd) {
    const TaskHandle handle = start(trace);
    EXPECT_TRUE(trace->events.empty());
    EXPECT_TRUE(handle.isRunning());
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin"}));
    EXPECT_TRUE(handle.isRunning());
    trace->gate.resolve();
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "end"}));
    EXPECT_FALSE(handle.isRunning());
    EXPECT_TRUE(handle);
    EXPECT_TRUE(escapes.empty());
}

TEST_F(TaskHandleTest, BeginsEvenWhenCancelledBefore) {
    TaskHandle handle = start(trace);
    handle.cancel();
    EXPECT_TRUE(handle.isRunning());
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "cancelled"}));
    EXPECT_FALSE(handle.isRunning());
}

TEST_F(TaskHandleTest, CancelledDuringEndsQuietlyInALaterTurn) {
    TaskHandle handle = start(trace);
    drainEvents();
    handle.cancel();
    EXPECT_EQ(trace->events, (Events{"begin"}));
    EXPECT_TRUE(handle.isRunning());
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "cancelled"}));
    EXPECT_FALSE(handle.isRunning());
    EXPECT_TRUE(escapes.empty());
}

TEST_F(TaskHandleTest, DroppingTheHandleCancels) {
    {
        const TaskHandle handle = start(trace);
        drainEvents();
    }
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "cancelled"}));
}

TEST_F(TaskHandleTest, DroppingTheHandleBeforeTheFirstTurnCancels) {
    { const TaskHandle handle = start(trace); }
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "cancelled"}));
}

TEST_F(TaskHandleTest, ReplacingCancelsTheLastFlowAndKeepsTheNewOne) {
    TaskHandle handle = start(trace);
    drainEvents();
    const auto second = std::make_shared<Trace>();
    handle = start(second);
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "cancelled"}));
    EXPECT_EQ(second->events, (Events{"begin"}));
    second->gate.resolve();
    drainEvents();
    EXPECT_EQ(second->events, (Events{"begin", "end"}));
}

TEST_F(TaskHandleTest, ReplacingWithAnEmptyHandleCancels) {
    TaskHandle handle = start(trace);
    drainEvents();
    handle = TaskHandle();
    EXPECT_FALSE(handle);
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "cancelled"}));
}

TEST_F(TaskHandleTest, MovingKeepsTheFlowAndEmptiesTheSource) {
    TaskHandle first = start(trace);
    TaskHandle second = std::move(first);
    EXPECT_FALSE(first); // NOLINT(bugprone-use-after-move): this is what is promised
    EXPECT_TRUE(second.isRunning());
    TaskHandle& alias = second;
    second = std::move(alias);
    trace->gate.resolve();
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "end"}));
}

TEST_F(TaskHandleTest, AnEmptyHandleIsHarmless) {
    TaskHandle handle;
    handle.cancel();
    EXPECT_FALSE(handle);
    EXPECT_FALSE(handle.isRunning());
}

TEST_F(TaskHandleTest, CancelAfterTheEndIsHarmless) {
    trace->gate.resolve();
    TaskHandle handle = start(trace);
    drainEvents();
    handle.cancel();
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "end"}));
}

TEST_F(TaskHandleTest, WhatEscapesGoesToTheHandlerAndTheFlowHasEnded) {
    const TaskHandle handle = TaskHandle::start([](std::stop_token) { return throwError(); });
    bool wasRunning = true;
    TaskHandle::setEscapeHandler([&](std::exception_ptr) { wasRunning = handle.isRunning(); });
    drainEvents();
    EXPECT_FALSE(wasRunning);
    EXPECT_FALSE(handle.isRunning());
}

TEST_F(TaskHandleTest, WhatAFlowThrowsBeforeItsFirstWaitEscapesToo) {
    const TaskHandle handle = TaskHandle::start(
        [](std::stop_token) -> QCoro::Task<void> { throw std::runtime_error("at once"); });
    drainEvents();
    EXPECT_EQ(escapes, (Events{"at once"}));
    EXPECT_FALSE(handle.isRunning());
}

TEST_F(TaskHandleTest, DetachedFlowsRunToTheirEndAndReportWhatEscapes) {
    TaskHandle::detach([trace = trace](std::stop_token stop) {
        EXPECT_FALSE(stop.stop_requested());
        return passThroughGate(trace, std::move(stop));
    });
    EXPECT_TRUE(trace->events.empty());
    trace->gate.resolve();
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "end"}));
    TaskHandle::detach([](std::stop_token) { return throwError(); });
    drainEvents();
    EXPECT_EQ(escapes, (Events{"escaped"}));
}

TEST_F(TaskHandleTest, WhatAFlowHoldsLivesAsLongAsItRuns) {
    auto owned = std::make_shared<int>(7);
    const std::weak_ptr<int> watched = owned;
    const TaskHandle handle =
        TaskHandle::start([owned = std::move(owned), trace = trace](std::stop_token stop) {
            return passThroughGate(trace, std::move(stop));
        });
    drainEvents();
    EXPECT_FALSE(watched.expired());
    trace->gate.resolve();
    drainEvents();
    EXPECT_TRUE(watched.expired());
}

TEST_F(TaskHandleTest, AFlowMayDropItsOwnHandle) {
    auto handle = std::make_shared<TaskHandle>();
    *handle = TaskHandle::start([handle, trace = trace](std::stop_token stop) {
        *handle = TaskHandle();
        return passThroughGate(trace, std::move(stop));
    });
    drainEvents();
    EXPECT_EQ(trace->events, (Events{"begin", "cancelled"}));
}

TEST(TaskHandleDeathTest, WithoutAHandlerAnEscapeEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            const TaskHandle handle =
                TaskHandle::start([](std::stop_token) { return throwError(); });
            drainEvents();
        },
        "");
}

} // namespace lumivane
