#include "overlays/CountdownBarModel.h"

#include "SignalCount.h"
#include "ui/identity/PaintColor.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivane {

using namespace std::chrono_literals;
using test::SignalCount;

class CountdownBarModelTest : public testing::Test {
protected:
    void begin(double total) {
        state->beginCountdown(total);
        bar = std::make_unique<CountdownBarModel>(total, SrgbColor{1, 1, 1, 1}, state);
        bar->setGlider([this](const std::optional<StripGlide>& glide) { glides.push_back(glide); });
    }

    void beginAndPlace(double total) {
        begin(total);
        bar->place(QRectF(18, 90, 300, 2), QColor(Qt::black));
    }

    std::shared_ptr<ResultOverlayState> state = std::make_shared<ResultOverlayState>();
    std::unique_ptr<CountdownBarModel> bar;
    std::vector<std::optional<StripGlide>> glides;
};

TEST_F(CountdownBarModelTest, TrackAndFillAreShadesOfTheTint) {
    state->beginCountdown(6);
    const CountdownBarModel tinted(6, SrgbColor{1, 0.5, 0, 1}, state);
    EXPECT_EQ(tinted.track(), paintColor({1, 0.5, 0, 0.18}));
    EXPECT_EQ(tinted.fill(), paintColor({1, 0.5, 0, 0.5}));
}

TEST_F(CountdownBarModelTest, IsFullBeforeItsFirstDisplay) {
    begin(6);
    EXPECT_EQ(bar->displayedFraction(), 1);
    ASSERT_EQ(glides.size(), 1U);
    EXPECT_EQ(glides.back(), std::nullopt);
}

TEST_F(CountdownBarModelTest, FirstDisplayStartsOneGlideOverTheWholeTime) {
    beginAndPlace(6);
    ASSERT_TRUE(glides.back().has_value());
    EXPECT_EQ(glides.back()->strip, (Rect{18, 90, 300, 2}));
    EXPECT_EQ(glides.back()->fraction, 1);
    EXPECT_EQ(glides.back()->duration, 6s);
    const double track = 0.18;
    EXPECT_NEAR(glides.back()->track.red, track, 1e-6);
    EXPECT_NEAR(glides.back()->fill.red, 0.5 + 0.5 * track, 1e-6);
    EXPECT_EQ(glides.back()->fill.opacity, 1);
}

TEST_F(CountdownBarModelTest, GliderThatComesLaterHearsOfTheGlide) {
    state->beginCountdown(6);
    CountdownBarModel late(6, {1, 1, 1, 1}, state);
    late.place(QRectF(0, 0, 100, 2), QColor(Qt::black));
    state->tick(4.5, false);
    std::optional<StripGlide> heard;
    late.setGlider([&](const std::optional<StripGlide>& glide) { heard = glide; });
    ASSERT_TRUE(heard.has_value());
    EXPECT_EQ(heard->fraction, 0.75);
    EXPECT_EQ(heard->duration, 4500ms);
}

TEST_F(CountdownBarModelTest, TicksStartNoGlideAndAreSeenOnceASecond) {
    beginAndPlace(6);
    const auto before = glides.size();
    const SignalCount changes(*bar, &CountdownBarModel::displayedFractionChanged);
    for (int tick = 1; tick <= 30; ++tick) {
        state->tick(6 - tick / 10.0, false);
    }
    EXPECT_EQ(changes, 3);
    EXPECT_EQ(glides.size(), before);
    EXPECT_EQ(bar->displayedFraction(), 0.5);
}

TEST_F(CountdownBarModelTest, HoverFreezesTheBarAndItsEndGoesOn) {
    beginAndPlace(8);
    state->tick(6, false);
    state->tick(5.6, true);
    EXPECT_EQ(glides.back(), std::nullopt);
    EXPECT_EQ(bar->displayedFraction(), 0.7);
    const auto held = glides.size();
    state->tick(5.6, true);
    EXPECT_EQ(glides.size(), held);
    state->tick(5.6, false);
    ASSERT_TRUE(glides.back().has_value());
    EXPECT_EQ(glides.back()->fraction, 0.7);
    EXPECT_EQ(glides.back()->duration, 5600ms);
}

TEST_F(CountdownBarModelTest, ReducedMotionMovesInStepsOfASecond) {
    begin(4);
    bar->setReduceMotion(true);
    bar->place(QRectF(0, 0, 100, 2), QColor(Qt::black));
    EXPECT_EQ(glides.back(), std::nullopt);
    EXPECT_EQ(bar->displayedFraction(), 1);
    state->tick(3.6, false);
    EXPECT_EQ(bar->displayedFraction(), 1);
    state->tick(3, false);
    EXPECT_EQ(bar->displayedFraction(), 0.75);
    state->tick(2.5, true);
    state->tick(2.5, false);
    EXPECT_EQ(glides.back(), std::nullopt) << "hover starts no glide either";
    EXPECT_EQ(bar->displayedFraction(), 0.75);
}

TEST_F(CountdownBarModelTest, ReducedMotionFollowsTheDesktopLive) {
    beginAndPlace(4);
    const SignalCount changes(*bar, &CountdownBarModel::reduceMotionChanged);
    bar->setReduceMotion(true);
    EXPECT_EQ(glides.back(), std::nullopt);
    bar->setReduceMotion(true);
    EXPECT_EQ(changes, 1);
    state->tick(1, false);
    bar->setReduceMotion(false);
    ASSERT_TRUE(glides.back().has_value());
    EXPECT_EQ(glides.back()->fraction, 0.25);
    EXPECT_EQ(changes, 2);
}

TEST_F(CountdownBarModelTest, NothingLeftOrNothingAtAllStaysEmpty) {
    beginAndPlace(0);
    EXPECT_EQ(glides.back(), std::nullopt);
    EXPECT_EQ(bar->displayedFraction(), 0);
    bar->setReduceMotion(true);
    EXPECT_EQ(bar->displayedFraction(), 0);
}

TEST_F(CountdownBarModelTest, EmptyBeforeItsFirstDisplayWithoutATotal) {
    begin(0);
    EXPECT_EQ(bar->displayedFraction(), 0);
}

TEST_F(CountdownBarModelTest, PlacedWhenTimeIsUpItIsEmpty) {
    begin(4);
    state->tick(0, false);
    bar->place(QRectF(0, 0, 100, 2), QColor(Qt::black));
    EXPECT_EQ(glides.back(), std::nullopt);
    EXPECT_EQ(bar->displayedFraction(), 0);
}

TEST_F(CountdownBarModelTest, MovedBarGlidesOnFromWhereItIs) {
    beginAndPlace(4);
    state->tick(3, false);
    bar->place(QRectF(10, 10, 200, 2), QColor(Qt::white));
    ASSERT_TRUE(glides.back().has_value());
    EXPECT_EQ(glides.back()->strip, (Rect{10, 10, 200, 2}));
    EXPECT_EQ(glides.back()->fraction, 0.75);
    bar->place(QRectF(), QColor(Qt::white));
    EXPECT_EQ(glides.back(), std::nullopt);
}

} // namespace lumivane
