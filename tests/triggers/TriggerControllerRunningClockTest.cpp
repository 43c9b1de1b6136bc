#include "async/SystemClock.h"
#include "support/EventLoop.h"
#include "triggers/TriggerControllerFixture.h"

namespace lumivane {

/// The same controller on the toolkit's timers, which are not destroyed as lightly as a test's.
class TriggerControllerRunningClockTest : public TriggerControllerFixture {
protected:
    void start(double dwellSeconds) {
        running.emplace(registrar, displayServer, systemClock);
        displayServer.pointer = inside;
        settings.dwellSeconds = dwellSeconds;
        settings.pollSeconds = 0.001;
        running->configure(settings);
    }

    bool waitForFire() {
        return test::waitUntil([this] { return fired > 0; });
    }

    SystemClock systemClock;
    AppSettings settings = cornerSettings();
    std::optional<TriggerController> running;
    int fired = 0;
};

TEST_F(TriggerControllerRunningClockTest, FiresNoEarlierThanTheDwell) {
    const MonotonicInstant begin = systemClock.now();
    start(0.05);
    MonotonicInstant fire = begin;
    running->onTrigger = [&](std::uint32_t) {
        fire = systemClock.now();
        ++fired;
    };
    ASSERT_TRUE(waitForFire());
    EXPECT_GE(fire - begin, std::chrono::milliseconds(50));
}

TEST_F(TriggerControllerRunningClockTest, TriggerCallbackMayDestroyTheController) {
    start(0);
    running->onTrigger = [this](std::uint32_t) {
        running.reset();
        ++fired;
    };
    ASSERT_TRUE(waitForFire());
    EXPECT_FALSE(running);
}

TEST_F(TriggerControllerRunningClockTest, TriggerCallbackMayConfigureAnew) {
    start(0);
    running->onTrigger = [this](std::uint32_t) {
        ++fired;
        running->configure(fired < 5 ? settings : shortcutSettings());
    };
    ASSERT_TRUE(test::waitUntil([this] { return fired == 5; }));
    EXPECT_EQ(registrar.hotKeys().size(), 1U);
}

} // namespace lumivane
