#include "triggers/TriggerControllerFixture.h"

namespace lumivane {

using namespace std::chrono_literals;

class TriggerControllerCornerTest : public TriggerControllerFixture {};

TEST_F(TriggerControllerCornerTest, WatcherSaysWhatItWatches) {
    watch();
    EXPECT_EQ(log.texts("trigger").back(),
              "Starting hot-corner watcher; corner=topLeft dwellSeconds=0.500000");
    EXPECT_EQ(logged(LogLevel::standard, log.texts("trigger").back()), 1);
    EXPECT_EQ(clock.timerCount(), 1U);
    EXPECT_TRUE(registrar.hotKeys().empty());
}

TEST_F(TriggerControllerCornerTest, FiresOnTheThirdTickAfterEntry) {
    watch();
    enter();
    tick(2);
    EXPECT_EQ(triggerCount(), 0);
    clock.advance(199ms);
    EXPECT_EQ(triggerCount(), 0);
    clock.advance(1ms);
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger 7"}));
    EXPECT_EQ(logged(LogLevel::standard, "Hot-corner trigger fired; display=7"), 1);
}

TEST_F(TriggerControllerCornerTest, DwellOfExactlyTheSettingFires) {
    AppSettings settings = cornerSettings();
    settings.dwellSeconds = 0.6;
    watch(settings);
    enter();
    tick(2);
    EXPECT_EQ(triggerCount(), 0);
    tick();
    EXPECT_EQ(triggerCount(), 1);
}

TEST_F(TriggerControllerCornerTest, OneNanosecondShortOfTheDwellDoesNotFire) {
    watch();
    displayServer.pointer = inside;
    const MonotonicInstant entry{1234567891ns};
    controller->tickCorner(entry);
    controller->tickCorner(entry + (500ms - 1ns));
    EXPECT_EQ(triggerCount(), 0);
    controller->tickCorner(entry + 500ms);
    EXPECT_EQ(triggerCount(), 1);
}

TEST_F(TriggerControllerCornerTest, TickWithoutAnArgumentTakesThePresent) {
    watch();
    displayServer.pointer = inside;
    controller->tickCorner();
    clock.advance(100ms); // no tick of the timer
    controller->tickCorner();
    EXPECT_EQ(calls, std::vector<std::string>{"dwell"});
    controller->tickCorner(clock.now() + 400ms);
    EXPECT_EQ(triggerCount(), 1);
}

TEST_F(TriggerControllerCornerTest, DwellOfZeroFiresOnEntryAfterTheDwellCallback) {
    AppSettings settings = cornerSettings();
    settings.dwellSeconds = 0;
    watch(settings);
    enter();
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger 7"}));
}

TEST_F(TriggerControllerCornerTest, StayingFiresOnce) {
    watch();
    enter();
    tick(10000);
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger 7"}));
}

TEST_F(TriggerControllerCornerTest, LeavingForOneTickStartsAFreshDwell) {
    watch();
    enter();
    tick(2);
    leave();
    EXPECT_EQ(logged(LogLevel::debug, "Pointer left configured hot corner; state reset"), 1);
    enter();
    tick(2);
    EXPECT_EQ(triggerCount(), 0);
    tick();
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "dwell", "trigger 7"}));
}

TEST_F(TriggerControllerCornerTest, LeavingAndComingBackBetweenTicksIsNotSeen) {
    watch();
    enter();
    displayServer.pointer = outside;
    clock.advance(100ms);
    displayServer.pointer = inside;
    clock.advance(100ms);
    tick(2);
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger 7"}));
}

TEST_F(TriggerControllerCornerTest, EveryEntryFiresOnce) {
    watch();
    for (int entry = 1; entry <= 3; ++entry) {
        enter();
        tick(20);
        EXPECT_EQ(triggerCount(), entry);
        leave();
    }
}

TEST_F(TriggerControllerCornerTest, EntryIsLoggedAndCalledBackOncePerEntry) {
    watch();
    enter();
    tick(2);
    EXPECT_EQ(calls, std::vector<std::string>{"dwell"});
    EXPECT_EQ(
        logged(LogLevel::debug, "Pointer entered configured hot corner; corner=topLeft display=7"),
        1);
    leave();
    tick(5);
    EXPECT_EQ(log.countStartingWith("Pointer left"), 1);
    enter();
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "dwell"}));
}

TEST_F(TriggerControllerCornerTest, PointerOutsideDoesNothing) {
    watch();
    tick(50);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(log.countStartingWith("Pointer"), 0);
}

TEST_F(TriggerControllerCornerTest, CornerIsInclusiveAtItsSize) {
    AppSettings settings = cornerSettings();
    settings.dwellSeconds = 0;
    const auto firesAt = [&](ScreenCorner corner, Point pointer) {
        settings.corner = corner;
        calls.clear();
        displayServer.pointer = pointer;
        watch(settings);
        tick();
        return triggerCount() == 1;
    };
    EXPECT_TRUE(firesAt(ScreenCorner::topLeft, {20, 1060}));
    EXPECT_FALSE(firesAt(ScreenCorner::topLeft, {20.5, 1060}));
    EXPECT_FALSE(firesAt(ScreenCorner::topLeft, {20, 1059.5}));
    EXPECT_TRUE(firesAt(ScreenCorner::topRight, {1900, 1060}));
    EXPECT_FALSE(firesAt(ScreenCorner::topRight, {1899.5, 1060}));
    EXPECT_TRUE(firesAt(ScreenCorner::bottomLeft, {20, 20}));
    EXPECT_FALSE(firesAt(ScreenCorner::bottomLeft, {20, 20.5}));
    EXPECT_FALSE(firesAt(ScreenCorner::bottomLeft, {20.5, 20}));
    EXPECT_TRUE(firesAt(ScreenCorner::bottomRight, {1900, 20}));
    EXPECT_FALSE(firesAt(ScreenCorner::bottomRight, {1900, 20.5}));
}

TEST_F(TriggerControllerCornerTest, OtherCornersDoNotCount) {
    watch();
    for (const Point corner : {Point{1919, 1080}, Point{0, 1}, Point{1919, 1}}) {
        displayServer.pointer = corner;
        tick(5);
    }
    EXPECT_TRUE(calls.empty());
}

TEST_F(TriggerControllerCornerTest, DisplayWithANegativeOriginHasItsOwnCorner) {
    displayServer.attached.push_back({.displayID = 4, .frame = {-1280, -300, 1280, 800}});
    displayServer.pointer = Point{-1275, 495};
    AppSettings settings = cornerSettings();
    settings.dwellSeconds = 0;
    watch(settings);
    tick();
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger 4"}));
    // Left of every corner of the main display, and no longer near the top of this one.
    displayServer.pointer = Point{-1275, 100};
    tick();
    EXPECT_EQ(log.countStartingWith("Pointer left"), 1);
}

TEST_F(TriggerControllerCornerTest, DisplayOnTheRightFiresWithItsOwnIdentifier) {
    displayServer.attached.push_back({.displayID = 12, .frame = {1920, 0, 1920, 1080}});
    displayServer.pointer = Point{1920, 1080};
    watch();
    tick(4);
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger 12"}));
    EXPECT_EQ(logged(LogLevel::standard, "Hot-corner trigger fired; display=12"), 1);
}

TEST_F(TriggerControllerCornerTest, CrossingToAnotherDisplaysCornerContinuesTheDwell) {
    displayServer.attached.push_back({.displayID = 12, .frame = {1920, 0, 1920, 1080}});
    watch();
    enter();
    tick(2);
    displayServer.pointer = Point{1925, 1075};
    tick();
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger 12"}));
    EXPECT_EQ(log.countStartingWith("Pointer left"), 0);
}

TEST_F(TriggerControllerCornerTest, DisplaysAreReadAfreshOnEachTick) {
    watch();
    enter();
    displayServer.attached.front().frame = {0, 0, 1920, 1200};
    tick();
    EXPECT_EQ(log.countStartingWith("Pointer left"), 1);
    displayServer.attached.clear();
    tick();
    displayServer.attached = {{.displayID = 3, .frame = {0, 0, 1024, 1080}}};
    tick(4);
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "dwell", "trigger 3"}));
}

TEST_F(TriggerControllerCornerTest, OnePollReadsThePointerAndTheDisplaysOnce) {
    watch();
    enter();
    tick(4);
    EXPECT_EQ(displayServer.pointerReads, 5);
    EXPECT_EQ(displayServer.displayReads, 5);
}

TEST_F(TriggerControllerCornerTest, PointerOnNoDisplayResets) {
    watch();
    enter();
    displayServer.pointer = Point{-5, 2000};
    tick();
    EXPECT_EQ(log.countStartingWith("Pointer left"), 1);
    enter();
    displayServer.pointer = std::nullopt;
    tick();
    EXPECT_EQ(log.countStartingWith("Pointer left"), 2);
    enter();
    displayServer.isLost = true;
    tick();
    EXPECT_EQ(log.countStartingWith("Pointer left"), 3);
    EXPECT_EQ(triggerCount(), 0);
}

TEST_F(TriggerControllerCornerTest, ResetCornerForgetsTheEntryAndLogsOnlyWhenThereIsOne) {
    watch();
    controller->resetCorner();
    EXPECT_EQ(log.countStartingWith("Pointer left"), 0);
    enter();
    tick(3);
    controller->resetCorner();
    EXPECT_EQ(log.countStartingWith("Pointer left"), 1);
    tick(4);
    EXPECT_EQ(triggerCount(), 2);
}

TEST_F(TriggerControllerCornerTest, ConfigureStartsOutside) {
    watch();
    enter();
    tick(2);
    watch();
    EXPECT_EQ(log.countStartingWith("Pointer left"), 1);
    EXPECT_EQ(clock.timerCount(), 1U);
    tick(3);
    EXPECT_EQ(triggerCount(), 0);
    tick();
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "dwell", "trigger 7"}));
}

TEST_F(TriggerControllerCornerTest, StopEndsTheTicks) {
    watch();
    enter();
    controller->stop();
    tick(20);
    EXPECT_EQ(calls, std::vector<std::string>{"dwell"});
    EXPECT_EQ(clock.timerCount(), 0U);
    const auto texts = log.texts("trigger");
    ASSERT_GE(texts.size(), 2U);
    EXPECT_EQ(texts[texts.size() - 2], "Pointer left configured hot corner; state reset");
    EXPECT_EQ(texts.back(), "Stopped active triggers");
}

TEST_F(TriggerControllerCornerTest, IntervalIsTheSettingOfTheStart) {
    AppSettings settings = cornerSettings();
    settings.pollSeconds = 0.05;
    watch(settings);
    clock.advance(49ms);
    EXPECT_EQ(displayServer.pointerReads, 0);
    clock.advance(1ms);
    EXPECT_EQ(displayServer.pointerReads, 1);
    clock.advance(950ms);
    EXPECT_EQ(displayServer.pointerReads, 20);
}

TEST_F(TriggerControllerCornerTest, IntervalOfZeroPollsAsFastAsTheClockAllows) {
    AppSettings settings = cornerSettings();
    settings.pollSeconds = 0;
    watch(settings);
    displayServer.pointer = inside;
    clock.advance(500ms);
    EXPECT_EQ(displayServer.pointerReads, 500);
    EXPECT_EQ(triggerCount(), 0);
    clock.advance(1ms);
    EXPECT_EQ(triggerCount(), 1);
}

TEST_F(TriggerControllerCornerTest, TicksWithoutCallbacksAreHarmless) {
    controller->onTrigger = nullptr;
    controller->onDwellStart = nullptr;
    watch();
    enter();
    tick(3);
    EXPECT_EQ(logged(LogLevel::standard, "Hot-corner trigger fired; display=7"), 1);
}

TEST_F(TriggerControllerCornerTest, DestroyedWhileWatchingNeverTicksAgain) {
    watch();
    enter();
    controller.reset();
    tick(20);
    EXPECT_EQ(calls, std::vector<std::string>{"dwell"});
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(TriggerControllerCornerTest, TriggerCallbackMayReconfigureToTheShortcut) {
    watch();
    controller->onTrigger = [this](std::uint32_t) {
        controller->configure(shortcutSettings());
        calls.emplace_back("trigger");
    };
    enter();
    tick(20);
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger"}));
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_EQ(registrar.hotKeys().size(), 1U);
}

TEST_F(TriggerControllerCornerTest, TriggerCallbackThatConfiguresAgainStartsAFreshEntry) {
    watch();
    controller->onTrigger = [this](std::uint32_t) {
        calls.emplace_back("trigger");
        controller->configure(cornerSettings());
    };
    enter();
    tick(3);
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger"}));
    EXPECT_EQ(clock.timerCount(), 1U);
    tick(4);
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger", "dwell", "trigger"}));
}

TEST_F(TriggerControllerCornerTest, TriggerCallbackMayDestroyTheController) {
    watch();
    controller->onTrigger = [this](std::uint32_t displayID) {
        controller.reset();
        calls.push_back("trigger " + std::to_string(displayID));
    };
    enter();
    tick(20);
    EXPECT_EQ(calls, (std::vector<std::string>{"dwell", "trigger 7"}));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(TriggerControllerCornerTest, DwellCallbackMayDestroyTheController) {
    AppSettings settings = cornerSettings();
    settings.dwellSeconds = 0;
    watch(settings);
    controller->onDwellStart = [this] {
        controller.reset();
        calls.emplace_back("dwell");
    };
    enter();
    tick(20);
    EXPECT_EQ(calls, std::vector<std::string>{"dwell"});
}

TEST_F(TriggerControllerCornerTest, DwellCallbackThatStopsKeepsTheEntryFromFiring) {
    AppSettings settings = cornerSettings();
    settings.dwellSeconds = 0;
    watch(settings);
    controller->onDwellStart = [this] { controller->stop(); };
    enter();
    tick(20);
    EXPECT_EQ(triggerCount(), 0);
}

} // namespace lumivane
