#include "accounts/ShownFieldState.h"

#include "support/EventLoop.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>

#include <memory>

namespace lumivane {

using namespace std::chrono_literals;
using State = ProfileFieldState;

class ShownFieldStateTest : public testing::Test {
protected:
    std::unique_ptr<ShownFieldState> make() {
        return std::make_unique<ShownFieldState>(clock, status, &AccountStatus::handleState,
                                                 &AccountStatus::setHandleState);
    }

    void showFor(std::chrono::seconds duration, const State& state) {
        shown->showFor(duration, state);
        test::drainEvents();
    }

    test::ManualClock clock;
    AccountStatus status;
    std::unique_ptr<ShownFieldState> shown = make();
};

TEST_F(ShownFieldStateTest, ShowsInItsOwnFieldAlone) {
    ShownFieldState other(clock, status, &AccountStatus::displayNameState,
                          &AccountStatus::setDisplayNameState);
    shown->show(State::checking());
    other.show(State::saving());
    EXPECT_EQ(status.handleState(), State::checking());
    EXPECT_EQ(status.displayNameState(), State::saving());
    EXPECT_EQ(shown->state(), State::checking());
    EXPECT_EQ(other.state(), State::saving());
}

TEST_F(ShownFieldStateTest, WhatIsShownForAWhileGoesAfterIt) {
    showFor(2s, State::saved());
    clock.advance(1999ms);
    EXPECT_EQ(shown->state(), State::saved());
    clock.advance(1ms);
    EXPECT_EQ(shown->state(), State::idle());
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(ShownFieldStateTest, WhatIsToBeKeptStays) {
    showFor(2s, State::saved());
    shown->keep();
    test::drainEvents();
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(10s);
    EXPECT_EQ(shown->state(), State::saved());
}

TEST_F(ShownFieldStateTest, WhatIsShownNextStays) {
    showFor(2s, State::saved());
    clock.advance(1s);
    shown->show(State::editing());
    test::drainEvents();
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(10s);
    EXPECT_EQ(shown->state(), State::editing());
}

TEST_F(ShownFieldStateTest, TheSameShownAgainHasItsOwnTime) {
    showFor(4s, State::reserved());
    clock.advance(3s);
    showFor(4s, State::reserved());
    clock.advance(3s);
    EXPECT_EQ(shown->state(), State::reserved());
    clock.advance(1s);
    EXPECT_EQ(shown->state(), State::idle());

    showFor(4s, State::reserved());
    shown->show(State::reserved());
    clock.advance(10s);
    EXPECT_EQ(shown->state(), State::reserved());
}

TEST_F(ShownFieldStateTest, AnotherValueOfTheFieldIsLeftAlone) {
    showFor(4s, State::conflicted(u"cedar"_qs));
    status.setHandleState(State::conflicted(u"maple"_qs));
    clock.advance(4s);
    EXPECT_EQ(shown->state(), State::conflicted(u"maple"_qs));
}

TEST_F(ShownFieldStateTest, NothingIsWrittenOnceItHasGone) {
    showFor(2s, State::saved());
    shown.reset();
    test::drainEvents();
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(3s);
    EXPECT_EQ(status.handleState(), State::saved());
}

TEST_F(ShownFieldStateTest, GoneBeforeItsFirstTurnIsGone) {
    shown->showFor(2s, State::saved());
    shown.reset();
    test::drainEvents();
    clock.advance(3s);
    EXPECT_EQ(status.handleState(), State::saved());
}

} // namespace lumivane
