#include "platform/linux/TerminationSignals.h"

#include "support/EventLoop.h"

#include <gtest/gtest.h>

#include <csignal>

namespace lumivane {

class TerminationSignalsTest : public testing::TestWithParam<int> {
protected:
    TerminationSignalsTest() { pthread_sigmask(SIG_SETMASK, nullptr, &m_before); }

    ~TerminationSignalsTest() override { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before{};
};

TEST_P(TerminationSignalsTest, ASignalBecomesOneCall) {
    TerminationSignals::block();
    int calls = 0;
    const TerminationSignals handler([&calls] { ++calls; });
    // To this thread: the test's other threads began before the signals were blocked.
    pthread_kill(pthread_self(), GetParam());
    EXPECT_TRUE(test::waitUntil([&calls] { return calls > 0; }));
    EXPECT_EQ(calls, 1);
}

INSTANTIATE_TEST_SUITE_P(Each, TerminationSignalsTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

} // namespace lumivane
