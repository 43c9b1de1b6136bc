#include "async/SerialCalls.h"

#include "support/Outcome.h"
#include "support/ScriptedCall.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace lumivane {

using test::drainEvents;
using test::ScriptedCall;

namespace {

QCoro::Task<bool> ended(QCoro::Task<void> call) {
    co_await call;
    co_return true;
}

} // namespace

class SerialCallsTest : public testing::Test {
protected:
    SerialCallsTest() { work.hold(); }

    /// Starts a call that notes its begin and its end, and waits for `work` in between.
    std::shared_ptr<test::Outcome<bool>> start(const std::string& name,
                                               std::stop_token stop = std::stop_token()) {
        auto flow = test::watch(ended(calls->run(
            [this, name](std::stop_token) { return step(&journal, &work, name); }, stop)));
        drainEvents();
        return flow;
    }

    static QCoro::Task<void> step(std::vector<std::string>* journal, ScriptedCall<bool>* work,
                                  std::string name) {
        journal->push_back("begin " + name);
        co_await work->call(std::stop_token());
        journal->push_back("end " + name);
    }

    void release(std::size_t index) {
        work.release(index, true);
        drainEvents();
    }

    std::vector<std::string> journal;
    ScriptedCall<bool> work{true};
    std::optional<SerialCalls> calls{std::in_place};
};

TEST_F(SerialCallsTest, ACallBeginsAfterTheOneBeforeHasEnded) {
    const auto first = start("1");
    const auto second = start("2");
    const auto third = start("3");
    EXPECT_EQ(journal, (std::vector<std::string>{"begin 1"}));
    release(0);
    EXPECT_TRUE(first->value);
    EXPECT_FALSE(second->hasEnded());
    EXPECT_EQ(journal, (std::vector<std::string>{"begin 1", "end 1", "begin 2"}));
    release(1);
    release(2);
    EXPECT_TRUE(third->value);
    EXPECT_EQ(journal, (std::vector<std::string>{"begin 1", "end 1", "begin 2", "end 2", "begin 3",
                                                 "end 3"}));
}

TEST_F(SerialCallsTest, ACallAfterAllHaveEndedBeginsAtOnce) {
    start("1");
    release(0);
    const auto second = start("2");
    release(1);
    EXPECT_TRUE(second->value);
}

TEST_F(SerialCallsTest, ACallMadeWhileOneThatWaitedIsAtWorkWaitsToo) {
    start("1");
    start("2");
    release(0);
    const auto third = start("3");
    EXPECT_EQ(journal, (std::vector<std::string>{"begin 1", "end 1", "begin 2"}));
    release(1);
    release(2);
    EXPECT_TRUE(third->value);
}

TEST_F(SerialCallsTest, AStoppedCallersWaitEndsAndItsCallKeepsItsTurn) {
    std::stop_source stop;
    const auto first = start("1", stop.get_token());
    const auto second = start("2");
    stop.request_stop();
    drainEvents();
    EXPECT_TRUE(first->isCancelled);
    EXPECT_EQ(journal, (std::vector<std::string>{"begin 1"}));
    release(0);
    EXPECT_EQ(journal, (std::vector<std::string>{"begin 1", "end 1", "begin 2"}));
    release(1);
    EXPECT_TRUE(second->value);
}

TEST_F(SerialCallsTest, ACallStoppedBeforeItsTurnNeverBegins) {
    std::stop_source stop;
    start("1");
    const auto second = start("2", stop.get_token());
    const auto third = start("3");
    stop.request_stop();
    drainEvents();
    EXPECT_TRUE(second->isCancelled);
    release(0);
    EXPECT_EQ(journal, (std::vector<std::string>{"begin 1", "end 1", "begin 3"}));
    release(1);
    EXPECT_TRUE(third->value);
}

TEST_F(SerialCallsTest, ACallStoppedBeforeItIsMadeNeverBegins) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(start("1", stop.get_token())->isCancelled);
    const auto second = start("2");
    release(0);
    EXPECT_TRUE(second->value);
    EXPECT_EQ(journal, (std::vector<std::string>{"begin 2", "end 2"}));
}

TEST_F(SerialCallsTest, AFailureReachesItsOwnCallerOnly) {
    const auto first = start("1");
    const auto second = start("2");
    work.fail(0, std::runtime_error("no"));
    drainEvents();
    EXPECT_TRUE(first->errorAs<std::runtime_error>());
    release(1);
    EXPECT_TRUE(second->value);
}

TEST_F(SerialCallsTest, CallsUnderWayOutliveTheirOwner) {
    const auto first = start("1");
    const auto second = start("2");
    calls.reset();
    release(0);
    release(1);
    EXPECT_TRUE(first->value);
    EXPECT_TRUE(second->value);
}

} // namespace lumivane
