#include "overlays/OverlayCoordinatorFixture.h"

#include <limits>

namespace lumivane::test {

using namespace std::chrono_literals;

class OverlayCoordinatorClockTest : public OverlayCoordinatorTest {};

namespace {

/// A clock whose timers may come late, as on a main thread that was busy.
class LateClock final : public Clock {
public:
    MonotonicInstant now() const override { return inner.now() + lateness; }

    QDateTime wallNow() const override { return inner.wallNow(); }

    std::unique_ptr<ClockTimer> after(std::chrono::nanoseconds delay,
                                      std::function<void()> callback) override {
        return inner.after(delay, std::move(callback));
    }

    std::unique_ptr<ClockTimer> every(std::chrono::nanoseconds interval,
                                      std::function<void()> callback) override {
        intervals.push_back(interval);
        return inner.every(interval, std::move(callback));
    }

    ManualClock inner;
    std::chrono::nanoseconds lateness{0};
    std::vector<std::chrono::nanoseconds> intervals;
};

} // namespace

TEST_F(OverlayCoordinatorClockTest, AResultCountsDownAndClosesAtItsEnd) {
    settings.resultSeconds = 6;
    show();
    EXPECT_EQ(remaining(), u"6s"_qs) << "the first frame shows the full time";
    clock.advance(100ms);
    EXPECT_EQ(remaining(), u"6s"_qs);
    clock.advance(900ms);
    EXPECT_EQ(remaining(), u"5s"_qs);
    clock.advance(4900ms);
    EXPECT_EQ(remaining(), u"1s"_qs);
    EXPECT_EQ(host.up(), Numbers{0});
    clock.advance(100ms);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, TheLabelChangesOnceASecond) {
    settings.resultSeconds = 6;
    show();
    int changes = 0;
    QObject::connect(result().get(), &ResultOverlayModel::remainingChanged,
                     [&changes] { ++changes; });
    clock.advance(5s);
    EXPECT_EQ(changes, 5);
}

TEST_F(OverlayCoordinatorClockTest, ALeetCodeAnswerStaysThreeMinutesAtLeast) {
    settings.resultSeconds = 30;
    show(u"code"_qs, ResultKind::leetCode);
    EXPECT_EQ(remaining(), u"3:00"_qs);
    EXPECT_EQ(result()->countdown(), nullptr);
    clock.advance(1s);
    EXPECT_EQ(remaining(), u"2:59"_qs);
    clock.advance(178900ms);
    EXPECT_EQ(host.up(), Numbers{0});
    clock.advance(100ms);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, ALeetCodeAnswerStaysAsLongAsTheSettingsSay) {
    settings.resultSeconds = 600;
    show(u"code"_qs, ResultKind::leetCode);
    EXPECT_EQ(remaining(), u"10:00"_qs);
    EXPECT_EQ(result()->countdown(), nullptr);
    clock.advance(599900ms);
    EXPECT_EQ(host.up(), Numbers{0});
    clock.advance(100ms);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, AKeptLeetCodeAnswerEndsAfterFifteenMinutes) {
    settings.keepUntilDismissed = true;
    settings.resultSeconds = 600;
    show(u"code"_qs, ResultKind::leetCode);
    EXPECT_EQ(remaining(), u"15:00"_qs);
    EXPECT_EQ(result()->countdown(), nullptr);
    clock.advance(899900ms);
    EXPECT_EQ(host.up(), Numbers{0});
    clock.advance(100ms);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, AKeptResultHasNoClock) {
    settings.keepUntilDismissed = true;
    for (const ResultKind kind : {ResultKind::text, ResultKind::choice, ResultKind::answers}) {
        show(u"a"_qs, kind);
        EXPECT_EQ(clock.timerCount(), 0U);
        EXPECT_EQ(remaining(), u"Until dismissed"_qs);
        EXPECT_EQ(result()->countdown(), nullptr);
        EXPECT_TRUE(host.hover(true));
        clock.advance(24h);
        EXPECT_EQ(remaining(), u"Until dismissed"_qs);
        EXPECT_EQ(host.up().size(), 1U);
    }
}

TEST_F(OverlayCoordinatorClockTest, AnOrdinaryResultWithAClockHasABar) {
    settings.resultSeconds = 8;
    for (const ResultKind kind : {ResultKind::text, ResultKind::choice, ResultKind::answers}) {
        show(u"a"_qs, kind);
        ASSERT_NE(result()->countdown(), nullptr);
        EXPECT_EQ(result()->countdown()->displayedFraction(), 1);
        EXPECT_EQ(remaining(), u"8s"_qs);
    }
}

TEST_F(OverlayCoordinatorClockTest, AnErrorStaysTwentySecondsWhateverTheSettingsSay) {
    settings.resultSeconds = 3;
    settings.keepUntilDismissed = true;
    showError();
    EXPECT_EQ(remaining(), u"20s"_qs);
    clock.advance(19900ms);
    EXPECT_EQ(host.up(), Numbers{0});
    clock.advance(100ms);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, TimeStandsStillUnderThePointer) {
    settings.resultSeconds = 6;
    show();
    clock.advance(2s);
    EXPECT_TRUE(host.hover(true));
    clock.advance(1min);
    EXPECT_EQ(remaining(), u"4s"_qs);
    EXPECT_TRUE(host.hover(false));
    clock.advance(3900ms);
    EXPECT_EQ(host.up(), Numbers{0}) << "all that was left runs on, nothing is made up for";
    clock.advance(100ms);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, AHoldIsShown) {
    show();
    CountdownBarModel* const bar = result()->countdown();
    bar->place({18, 200, 464, 2}, Qt::black);
    const auto glides = [this]() -> const auto& { return host.opened()[0].glides; };
    ASSERT_FALSE(glides().empty());
    EXPECT_TRUE(glides().back().has_value());
    host.hover(true);
    clock.advance(100ms);
    EXPECT_FALSE(glides().back().has_value());
    host.hover(false);
    clock.advance(100ms);
    EXPECT_TRUE(glides().back().has_value());
}

TEST_F(OverlayCoordinatorClockTest, AHoldInsideOneTickIsNotShown) {
    show();
    const auto model = result();
    model->countdown()->place({18, 200, 464, 2}, Qt::black);
    const auto glides = [this] { return host.opened()[0].glides.size(); };
    const auto before = glides();
    clock.advance(30ms);
    EXPECT_TRUE(host.hover(true));
    clock.advance(40ms);
    EXPECT_TRUE(host.hover(false));
    clock.advance(130ms);
    EXPECT_EQ(glides(), before) << "what pauses ends its glide, and begins another one later";
}

TEST_F(OverlayCoordinatorClockTest, WithoutThatSettingThePointerHoldsNothing) {
    settings.resultSeconds = 6;
    settings.extendOnHover = false;
    show();
    EXPECT_TRUE(host.hover(true));
    clock.advance(2s);
    EXPECT_EQ(remaining(), u"4s"_qs);
    clock.advance(4s);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, AnErrorIsHeldByThePointerWhateverTheSettingSays) {
    settings.extendOnHover = false;
    showError();
    host.hover(true);
    clock.advance(1h);
    EXPECT_EQ(remaining(), u"20s"_qs);
    host.hover(false);
    clock.advance(20s);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, ThePointerOverOnePanelDoesNotHoldTheNext) {
    show();
    host.hover(true);
    show(u"the next"_qs);
    clock.advance(6s);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, AReplacedClockDoesNotCloseTheNextPanel) {
    settings.resultSeconds = 6;
    show();
    clock.advance(5950ms);
    show(u"the next"_qs);
    EXPECT_EQ(clock.timerCount(), 1U);
    clock.advance(5900ms);
    EXPECT_EQ(host.up(), Numbers{1});
    clock.advance(100ms);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, WhatIsCountedIsTimeAndNotTicks) {
    LateClock late;
    coordinator.emplace(host, registrar, displays, announcer, pasteboard, late);
    settings.resultSeconds = 6;
    show();
    EXPECT_EQ(late.intervals, std::vector<std::chrono::nanoseconds>{100ms});
    late.lateness = 3s;
    late.inner.advance(100ms);
    EXPECT_EQ(remaining(), u"3s"_qs) << "2.9 are left";
    late.lateness = 10s;
    late.inner.advance(100ms);
    EXPECT_TRUE(host.up().empty());
    coordinator.reset();
}

TEST_F(OverlayCoordinatorClockTest, TimeThatPassesInOneTickOfAHoldIsThrownAway) {
    LateClock late;
    coordinator.emplace(host, registrar, displays, announcer, pasteboard, late);
    settings.resultSeconds = 6;
    show();
    host.hover(true);
    late.lateness = 1h;
    late.inner.advance(100ms);
    EXPECT_EQ(remaining(), u"6s"_qs);
    host.hover(false);
    late.inner.advance(5900ms);
    EXPECT_EQ(host.up(), Numbers{0});
    late.inner.advance(100ms);
    EXPECT_TRUE(host.up().empty());
    coordinator.reset();
}

TEST_F(OverlayCoordinatorClockTest, NoTimeAtAllClosesThePanelInTheNextTurn) {
    for (const double seconds : {0.0, -5.0, std::numeric_limits<double>::quiet_NaN(),
                                 -std::numeric_limits<double>::infinity()}) {
        settings.resultSeconds = seconds;
        show();
        EXPECT_EQ(host.up().size(), 1U);
        EXPECT_EQ(remaining(), u"0s"_qs);
        clock.advance(0ns);
        expectNothingIsLeft();
    }
    EXPECT_EQ(spoken().size(), 4);
    EXPECT_EQ(logged(LogLevel::standard, "Showing result overlay; kind=text display=7 "
                                         "dismissalSeconds=0.000000 escapeHeld=1"),
              4);
}

TEST_F(OverlayCoordinatorClockTest, NoTimeAtAllDoesNotCloseWhatCameNext) {
    settings.resultSeconds = 0;
    show();
    settings.resultSeconds = 6;
    show(u"the next"_qs);
    clock.advance(0ns);
    EXPECT_EQ(host.up(), Numbers{1});
}

TEST_F(OverlayCoordinatorClockTest, AnAbsurdTimeIsHeldToWhatAClockCanCount) {
    for (const double seconds : {std::numeric_limits<double>::infinity(), 1e300}) {
        settings.resultSeconds = seconds;
        for (const ResultKind kind : {ResultKind::text, ResultKind::leetCode}) {
            show(u"a"_qs, kind);
            EXPECT_EQ(remaining(), u"52560000:00"_qs) << "a century";
            clock.advance(1s);
            EXPECT_EQ(remaining(), u"52559999:59"_qs);
            EXPECT_TRUE(host.dismiss());
            expectNothingIsLeft();
        }
    }
}

TEST_F(OverlayCoordinatorClockTest, WhatIsNoTimeLeavesALeetCodeAnswerItsThreeMinutes) {
    settings.resultSeconds = std::numeric_limits<double>::quiet_NaN();
    show(u"code"_qs, ResultKind::leetCode);
    EXPECT_EQ(remaining(), u"3:00"_qs);
}

TEST_F(OverlayCoordinatorClockTest, AViewMayCloseThePanelWhileTheClockTicks) {
    settings.resultSeconds = 6;
    show();
    QObject::connect(result().get(), &ResultOverlayModel::remainingChanged,
                     [this] { coordinator->clearResult(); });
    clock.advance(1s);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorClockTest, APanelThatComesInsideTheLastTickIsNotClosedByIt) {
    settings.resultSeconds = 1;
    show();
    const auto model = result();
    QObject::connect(model->countdown(), &CountdownBarModel::displayedFractionChanged, [this] {
        settings.keepUntilDismissed = true;
        show(u"the next"_qs);
    });
    clock.advance(1s);
    EXPECT_EQ(host.up(), Numbers{1});
}

TEST_F(OverlayCoordinatorClockTest, TheBarGlidesOnThePanelWhileItIsUp) {
    settings.resultSeconds = 6;
    show();
    const auto model = result();
    const auto glides = [this]() -> const auto& { return host.opened()[0].glides; };
    EXPECT_EQ(glides(), std::vector<std::optional<StripGlide>>{std::nullopt})
        << "nothing glides before the view has laid the bar out";
    model->countdown()->place({18, 200, 464, 2}, Qt::black);
    ASSERT_EQ(glides().size(), 2U);
    ASSERT_TRUE(glides()[1].has_value());
    EXPECT_EQ(glides()[1]->strip, (Rect{18, 200, 464, 2}));
    EXPECT_EQ(glides()[1]->duration, 6s);
    EXPECT_EQ(glides()[1]->fraction, 1);
    clock.advance(3s);
    EXPECT_EQ(glides().size(), 2U) << "one long glide, not one a tick";
    host.dismiss();
    model->countdown()->place({18, 100, 464, 2}, Qt::black);
    EXPECT_EQ(glides().size(), 2U) << "a closed panel is never called";
}

TEST_F(OverlayCoordinatorClockTest, TheBarOfAnOldPanelDoesNotGlideOnTheNext) {
    show();
    const auto old = result();
    show(u"the next"_qs);
    old->countdown()->place({18, 200, 464, 2}, Qt::black);
    EXPECT_EQ(host.opened()[1].glides, std::vector<std::optional<StripGlide>>{std::nullopt});
}

} // namespace lumivane::test
