#include "async/MainThread.h"
#include "async/SystemClock.h"
#include "support/EventLoop.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace lumivane {

using namespace std::chrono_literals;
using test::drainEvents;
using test::ManualClock;

namespace {

/// A clock and the way in which its time passes.
class ClockUnderTest {
public:
    virtual ~ClockUnderTest() = default;
    virtual Clock& clock() = 0;

    /// Lets time pass until `condition` holds; false when it does not hold in good time.
    virtual bool passUntil(const std::function<bool()>& condition) = 0;
};

class ManualUnderTest final : public ClockUnderTest {
public:
    Clock& clock() override { return m_clock; }

    bool passUntil(const std::function<bool()>& condition) override {
        for (int step = 0; step < 1000 && !condition(); ++step) {
            m_clock.advance(1ms);
        }
        return condition();
    }

private:
    ManualClock m_clock;
};

class SystemUnderTest final : public ClockUnderTest {
public:
    Clock& clock() override { return m_clock; }

    bool passUntil(const std::function<bool()>& condition) override {
        return test::waitUntil(condition);
    }

private:
    SystemClock m_clock;
};

} // namespace

/// What every clock promises.
class ClockContract : public testing::TestWithParam<const char*> {
protected:
    ClockContract() {
        if (std::string_view(GetParam()) == "manual") {
            underTest = std::make_unique<ManualUnderTest>();
        } else {
            underTest = std::make_unique<SystemUnderTest>();
        }
    }

    Clock& clock() { return underTest->clock(); }

    bool passUntil(const std::function<bool()>& condition) {
        return underTest->passUntil(condition);
    }

    std::unique_ptr<ClockUnderTest> underTest;
};

TEST_P(ClockContract, AfterFiresOnceAndNeverEarly) {
    const MonotonicInstant begin = clock().now();
    int fired = 0;
    std::chrono::nanoseconds elapsed{0};
    const auto timer = clock().after(5ms, [&] {
        ++fired;
        elapsed = clock().now() - begin;
    });
    EXPECT_EQ(fired, 0);
    ASSERT_TRUE(passUntil([&] { return fired > 0; }));
    EXPECT_GE(elapsed, 5ms);
    bool later = false;
    const auto laterTimer = clock().after(15ms, [&later] { later = true; });
    ASSERT_TRUE(passUntil([&later] { return later; }));
    EXPECT_EQ(fired, 1);
}

TEST_P(ClockContract, NoDelayFiresInALaterTurn) {
    for (const auto delay : {0ns, -5ns}) {
        bool fired = false;
        const auto timer = clock().after(delay, [&fired] { fired = true; });
        EXPECT_FALSE(fired);
        EXPECT_TRUE(passUntil([&fired] { return fired; }));
    }
}

TEST_P(ClockContract, AFractionOfAMillisecondIsNotCutToNothing) {
    const MonotonicInstant begin = clock().now();
    std::chrono::nanoseconds elapsed{0};
    const auto timer = clock().after(1500us, [&] { elapsed = clock().now() - begin; });
    ASSERT_TRUE(passUntil([&elapsed] { return elapsed > 0ns; }));
    EXPECT_GE(elapsed, 1500us);
}

TEST_P(ClockContract, EveryFiresUntilTheTimerGoes) {
    int fired = 0;
    auto timer = clock().every(2ms, [&fired] { ++fired; });
    ASSERT_TRUE(passUntil([&fired] { return fired >= 3; }));
    timer.reset();
    const int before = fired;
    bool later = false;
    const auto laterTimer = clock().after(10ms, [&later] { later = true; });
    ASSERT_TRUE(passUntil([&later] { return later; }));
    EXPECT_EQ(fired, before);
}

TEST_P(ClockContract, AnIntervalOfNothingCountsAsAMillisecond) {
    for (const auto interval : {0ns, -5ns}) {
        const MonotonicInstant begin = clock().now();
        int fired = 0;
        std::chrono::nanoseconds elapsed{0};
        const auto timer = clock().every(interval, [&] {
            ++fired;
            elapsed = clock().now() - begin;
        });
        ASSERT_TRUE(passUntil([&fired] { return fired >= 3; }));
        EXPECT_GE(elapsed, 3ms);
    }
}

TEST_P(ClockContract, ATimerThatGoesBeforeItsTimeNeverFires) {
    bool fired = false;
    auto timer = clock().after(2ms, [&fired] { fired = true; });
    timer.reset();
    bool later = false;
    const auto laterTimer = clock().after(10ms, [&later] { later = true; });
    ASSERT_TRUE(passUntil([&later] { return later; }));
    EXPECT_FALSE(fired);
}

TEST_P(ClockContract, ACallbackMayDestroyItsOwnTimer) {
    int once = 0;
    int repeated = 0;
    auto witness = std::make_shared<int>(7);
    std::unique_ptr<ClockTimer> single;
    std::unique_ptr<ClockTimer> repeating;
    single = clock().after(1ms, [&, witness] {
        single.reset();
        once += *witness; // what the callback holds lives to its end
    });
    repeating = clock().every(1ms, [&, witness] {
        repeating.reset();
        repeated += *witness;
    });
    ASSERT_TRUE(passUntil([&] { return once > 0 && repeated > 0; }));
    bool later = false;
    const auto laterTimer = clock().after(5ms, [&later] { later = true; });
    ASSERT_TRUE(passUntil([&later] { return later; }));
    EXPECT_EQ(once, 7);
    EXPECT_EQ(repeated, 7);
}

TEST_P(ClockContract, ACallbackMayDestroyAnotherTimer) {
    bool victimFired = false;
    bool later = false;
    auto victim = clock().after(10ms, [&victimFired] { victimFired = true; });
    const auto killer = clock().after(1ms, [&victim] { victim.reset(); });
    const auto laterTimer = clock().after(30ms, [&later] { later = true; });
    ASSERT_TRUE(passUntil([&later] { return later; }));
    EXPECT_FALSE(victimFired);
}

TEST_P(ClockContract, ACallbackMayMakeTimers) {
    std::vector<int> order;
    std::unique_ptr<ClockTimer> second;
    const auto first = clock().after(1ms, [&] {
        order.push_back(1);
        second = clock().after(1ms, [&order] { order.push_back(2); });
    });
    ASSERT_TRUE(passUntil([&order] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST_P(ClockContract, DeadlinesFireInTheirOrder) {
    std::vector<int> order;
    const auto late = clock().after(12ms, [&order] { order.push_back(3); });
    const auto early = clock().after(2ms, [&order] { order.push_back(1); });
    const auto middle = clock().after(7ms, [&order] { order.push_back(2); });
    ASSERT_TRUE(passUntil([&order] { return order.size() == 3; }));
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST_P(ClockContract, WallTimeIsUtcAndGoesOn) {
    const QDateTime begin = clock().wallNow();
    EXPECT_TRUE(begin.isValid());
    EXPECT_EQ(begin.timeSpec(), Qt::UTC);
    bool later = false;
    const auto timer = clock().after(20ms, [&later] { later = true; });
    ASSERT_TRUE(passUntil([&later] { return later; }));
    EXPECT_GE(begin.msecsTo(clock().wallNow()), 19);
}

INSTANTIATE_TEST_SUITE_P(Clocks, ClockContract, testing::Values("manual", "system"),
                         [](const auto& info) { return std::string(info.param); });

// What only the manual clock promises.

TEST(ManualClock, AdvanceFiresTimersAtTheirOwnInstants) {
    ManualClock clock;
    std::vector<std::chrono::nanoseconds> seen;
    const auto write = [&] { seen.push_back(clock.now().sinceOrigin); };
    const auto single = clock.after(1500us, write);
    const auto repeating = clock.every(1ms, write);
    clock.advance(3ms);
    EXPECT_EQ(seen, (std::vector<std::chrono::nanoseconds>{1ms, 1500us, 2ms, 3ms}));
    EXPECT_EQ(clock.now().sinceOrigin, 3ms);
}

TEST(ManualClock, EqualDeadlinesFireInTheOrderOfTheirMaking) {
    ManualClock clock;
    std::vector<int> order;
    const auto first = clock.after(1ms, [&order] { order.push_back(1); });
    const auto second = clock.after(1ms, [&order] { order.push_back(2); });
    const auto third = clock.after(1ms, [&order] { order.push_back(3); });
    clock.advance(1ms);
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(ManualClock, ATimerMadeInACallbackFiresInTheSameAdvanceWhenItIsDue) {
    ManualClock clock;
    std::vector<std::chrono::nanoseconds> seen;
    std::unique_ptr<ClockTimer> second;
    std::unique_ptr<ClockTimer> third;
    const auto first = clock.after(1ms, [&] {
        second = clock.after(1ms, [&] { seen.push_back(clock.now().sinceOrigin); });
        third = clock.after(5ms, [&] { seen.push_back(clock.now().sinceOrigin); });
    });
    clock.advance(3ms);
    EXPECT_EQ(seen, (std::vector<std::chrono::nanoseconds>{2ms}));
    clock.advance(3ms);
    EXPECT_EQ(seen, (std::vector<std::chrono::nanoseconds>{2ms, 6ms}));
}

TEST(ManualClock, ATimerDestroyedInACallbackAtTheSameDeadlineDoesNotFire) {
    ManualClock clock;
    bool fired = false;
    std::unique_ptr<ClockTimer> victim;
    const auto killer = clock.after(1ms, [&victim] { victim.reset(); });
    victim = clock.after(1ms, [&fired] { fired = true; });
    clock.advance(5ms);
    EXPECT_FALSE(fired);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST(ManualClock, DeliversWhatATimerPostsBeforeTheNextTimer) {
    ManualClock clock;
    std::vector<int> order;
    const auto first = clock.after(1ms, [&order] {
        postToMainThread([&order] {
            order.push_back(1);
            postToMainThread([&order] { order.push_back(2); });
        });
    });
    const auto second = clock.after(2ms, [&order] { order.push_back(3); });
    clock.advance(5ms);
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST(ManualClock, DeliversWhatWasPostedBeforeItsHandsMove) {
    ManualClock clock;
    std::chrono::nanoseconds seen{-1};
    postToMainThread([&] { seen = clock.now().sinceOrigin; });
    clock.advance(5ms);
    EXPECT_EQ(seen, 0ns);
}

TEST(ManualClock, CountsRunningTimers) {
    ManualClock clock;
    auto single = clock.after(1ms, [] {});
    auto repeating = clock.every(1ms, [] {});
    EXPECT_EQ(clock.timerCount(), 2U);
    clock.advance(1ms);
    EXPECT_EQ(clock.timerCount(), 1U);
    repeating.reset();
    EXPECT_EQ(clock.timerCount(), 0U);
}

} // namespace lumivane
