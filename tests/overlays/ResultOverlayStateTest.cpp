#include "overlays/ResultOverlayState.h"

#include "SignalCount.h"
#include "overlays/ResultOverlayCopy.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumivane {

using test::SignalCount;

class ResultOverlayStateTest : public testing::Test {
protected:
    ResultOverlayState state;
    SignalCount seconds{state, &ResultOverlayState::secondsRemainingChanged};
    SignalCount paused{state, &ResultOverlayState::isPausedChanged};
    SignalCount notes{state, &ResultOverlayState::notesFailureChanged};
};

TEST_F(ResultOverlayStateTest, StartsWithoutClockAndBanner) {
    EXPECT_EQ(state.notesFailure(), std::nullopt);
    EXPECT_EQ(state.secondsRemaining(), std::nullopt);
    EXPECT_FALSE(state.isPaused());
    EXPECT_EQ(state.preciseRemaining(), 0);
    EXPECT_EQ(state.countdownTotal(), 0);
    EXPECT_EQ(state.steppedFraction(), 0);
    EXPECT_EQ(state.preciseFraction(), 0);
}

TEST_F(ResultOverlayStateTest, CountdownShowsItsFullTimeAtOnce) {
    state.beginCountdown(4.2);
    EXPECT_EQ(state.secondsRemaining(), 5);
    EXPECT_EQ(state.preciseRemaining(), 4.2);
    EXPECT_EQ(state.countdownTotal(), 4.2);
    EXPECT_EQ(state.preciseFraction(), 1);
    EXPECT_EQ(state.steppedFraction(), 1) << "five of 4.2 seconds are no more than all";
    EXPECT_EQ(seconds, 1);
    EXPECT_EQ(paused, 0);
}

TEST_F(ResultOverlayStateTest, SecondsAreRoundedUp) {
    state.beginCountdown(4.2);
    state.tick(4.0, false);
    EXPECT_EQ(state.secondsRemaining(), 4);
    state.tick(3.0001, false);
    EXPECT_EQ(state.secondsRemaining(), 4);
    state.tick(0.01, false);
    EXPECT_EQ(state.secondsRemaining(), 1);
    state.tick(0, false);
    EXPECT_EQ(state.secondsRemaining(), 0);
    EXPECT_EQ(ResultOverlayCopy::remainingLabel(state.secondsRemaining()), u"0s"_qs);
    state.tick(-0.05, false);
    EXPECT_EQ(state.secondsRemaining(), 0);
    EXPECT_EQ(state.preciseFraction(), 0);
}

TEST_F(ResultOverlayStateTest, ASecondOfTicksIsOneChange) {
    state.beginCountdown(6);
    for (int tick = 1; tick <= 60; ++tick) {
        state.tick(6 - tick / 10.0, false);
        ASSERT_EQ(seconds, 1 + tick / 10) << tick;
    }
    EXPECT_EQ(seconds, 7);
    EXPECT_EQ(paused, 0);
    EXPECT_EQ(notes, 0);
}

TEST_F(ResultOverlayStateTest, PreciseTimeMovesWithEveryTick) {
    state.beginCountdown(8);
    state.tick(7.9, false);
    EXPECT_EQ(state.preciseRemaining(), 7.9);
    EXPECT_EQ(state.preciseFraction(), 7.9 / 8);
    EXPECT_EQ(state.steppedFraction(), 1);
    state.tick(6, false);
    EXPECT_EQ(state.preciseFraction(), 0.75);
    EXPECT_EQ(state.steppedFraction(), 0.75);
    EXPECT_EQ(state.countdownTotal(), 8);
}

TEST_F(ResultOverlayStateTest, PausingIsToldOnce) {
    state.beginCountdown(6);
    for (int tick = 0; tick < 10; ++tick) {
        state.tick(5.5, true);
    }
    EXPECT_TRUE(state.isPaused());
    EXPECT_EQ(paused, 1);
    state.tick(5.4, false);
    EXPECT_FALSE(state.isPaused());
    EXPECT_EQ(paused, 2);
    EXPECT_EQ(seconds, 1);
}

TEST_F(ResultOverlayStateTest, ObserversOfAPauseSeeTheTimeThatIsLeft) {
    state.beginCountdown(6);
    double seen = -1;
    QObject::connect(&state, &ResultOverlayState::isPausedChanged, &state,
                     [&] { seen = state.preciseRemaining(); });
    state.tick(2.5, true);
    EXPECT_EQ(seen, 2.5);
}

TEST_F(ResultOverlayStateTest, TotalOfNothingHasNoShareLeft) {
    state.beginCountdown(0);
    EXPECT_EQ(state.secondsRemaining(), 0);
    EXPECT_EQ(state.steppedFraction(), 0);
    EXPECT_EQ(state.preciseFraction(), 0);
    state.beginCountdown(-2);
    EXPECT_EQ(state.secondsRemaining(), -2);
    EXPECT_EQ(state.steppedFraction(), 0);
    EXPECT_EQ(state.preciseFraction(), 0);
}

TEST_F(ResultOverlayStateTest, FractionsStayBetweenNothingAndAll) {
    state.beginCountdown(5);
    state.tick(9, false);
    EXPECT_EQ(state.preciseFraction(), 1);
    EXPECT_EQ(state.steppedFraction(), 1);
    state.tick(-4, false);
    EXPECT_EQ(state.preciseFraction(), 0);
    EXPECT_EQ(state.steppedFraction(), 0);
}

TEST_F(ResultOverlayStateTest, AbsurdTimesAreBounded) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double total : {infinity, 1e300, 1e19}) {
        state.beginCountdown(total);
        EXPECT_EQ(state.secondsRemaining(), 1'000'000'000'000'000);
        EXPECT_EQ(state.preciseFraction(), 1);
        EXPECT_EQ(state.steppedFraction(), 1);
    }
    state.tick(-infinity, false);
    EXPECT_EQ(state.secondsRemaining(), -1'000'000'000'000'000);
    EXPECT_EQ(state.preciseFraction(), 0);
}

TEST_F(ResultOverlayStateTest, NoNumberIsNoTime) {
    const double none = std::numeric_limits<double>::quiet_NaN();
    state.beginCountdown(none);
    EXPECT_EQ(state.secondsRemaining(), 0);
    EXPECT_EQ(state.preciseFraction(), 0);
    state.beginCountdown(4);
    state.tick(none, false);
    EXPECT_EQ(state.secondsRemaining(), 0);
    EXPECT_EQ(state.preciseFraction(), 0);
    EXPECT_EQ(state.preciseRemaining(), 0);
}

TEST_F(ResultOverlayStateTest, BannerIsToldWhenItChanges) {
    state.setNotesFailure(u"no"_qs);
    EXPECT_EQ(state.notesFailure(), u"no"_qs);
    EXPECT_EQ(notes, 1);
    state.setNotesFailure(u"no"_qs);
    EXPECT_EQ(notes, 1);
    state.setNotesFailure(std::nullopt);
    EXPECT_EQ(state.notesFailure(), std::nullopt);
    EXPECT_EQ(notes, 2);
}

} // namespace lumivane
