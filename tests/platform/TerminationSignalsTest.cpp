#include "platform/linux/TerminationSignals.h"

#include "support/EventLoop.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <thread>

namespace lumivane::test {

class TerminationSignalsTest : public testing::TestWithParam<int> {
protected:
    TerminationSignalsTest() {
        pthread_sigmask(SIG_SETMASK, nullptr, &m_maskBefore);
        for (std::size_t index = 0; index < numbers.size(); ++index) {
            ::sigaction(numbers.at(index), nullptr, &m_before.at(index));
        }
    }

    ~TerminationSignalsTest() override {
        for (std::size_t index = 0; index < numbers.size(); ++index) {
            ::sigaction(numbers.at(index), &m_before.at(index), nullptr);
        }
        pthread_sigmask(SIG_SETMASK, &m_maskBefore, nullptr);
    }

    /// As the threads of libraries may, or whoever starts the program.
    static void holdBack() {
        sigset_t held;
        sigemptyset(&held);
        sigaddset(&held, GetParam());
        pthread_sigmask(SIG_BLOCK, &held, nullptr);
    }

private:
    static constexpr std::array numbers{SIGTERM, SIGINT, SIGHUP};
    std::array<struct sigaction, 3> m_before{};
    sigset_t m_maskBefore{};
};

INSTANTIATE_TEST_SUITE_P(Each, TerminationSignalsTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_P(TerminationSignalsTest, ASignalBecomesOneCallInATurnOfTheLoop) {
    int calls = 0;
    const TerminationSignals handler([&calls] { ++calls; });
    ::raise(GetParam());
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(waitUntil([&calls] { return calls > 0; }));
    drainEvents();
    EXPECT_EQ(calls, 1);
}

TEST_P(TerminationSignalsTest, SignalsThatComeOneAfterTheOtherAreCallsEach) {
    int calls = 0;
    const TerminationSignals handler([&calls] { ++calls; });
    for (const int expected : {1, 2, 3}) {
        ::raise(GetParam());
        EXPECT_TRUE(waitUntil([&] { return calls == expected; }));
    }
}

TEST_P(TerminationSignalsTest, AnyThreadMayGetTheSignal) {
    int calls = 0;
    std::thread::id caller;
    const TerminationSignals handler([&] {
        ++calls;
        caller = std::this_thread::get_id();
    });
    std::thread([] { ::raise(GetParam()); }).join();
    EXPECT_TRUE(waitUntil([&calls] { return calls == 1; }));
    EXPECT_EQ(caller, std::this_thread::get_id());
}

TEST_P(TerminationSignalsTest, WhatTheStarterHeldBackComesThrough) {
    holdBack();
    TerminationSignals::unblock();
    int calls = 0;
    const TerminationSignals handler([&calls] { ++calls; });
    ::raise(GetParam());
    EXPECT_TRUE(waitUntil([&calls] { return calls == 1; }));
}

TEST_P(TerminationSignalsTest, ASecondSignalDoesNotCutTheEndShort) {
    int calls = 0;
    {
        const TerminationSignals handler([&calls] { ++calls; });
    }
    ::raise(GetParam());
    drainEvents();
    EXPECT_EQ(calls, 0);
}

TEST_P(TerminationSignalsTest, WithoutAHandlerTheSignalEndsTheProcess) {
    holdBack();
    EXPECT_EXIT(
        {
            TerminationSignals::unblock();
            ::raise(GetParam());
        },
        testing::KilledBySignal(GetParam()), "");
}

} // namespace lumivane::test
