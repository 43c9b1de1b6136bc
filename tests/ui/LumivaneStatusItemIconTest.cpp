#include "ui/StatusItemFixture.h"

#include <array>

namespace lumivane::test {

namespace {

using namespace std::chrono_literals;
using LumivaneStatusIconRenderer::capturingPupilRadius;
using LumivaneStatusIconRenderer::restingPupilRadius;

/// The ease-out cubic's share of the way after each of the eleven frames, worked out by hand:
/// 1 - ((11 - frame) / 11)^3.
constexpr std::array<double, 11> shares{331 / 1331.0,
                                        602 / 1331.0,
                                        819 / 1331.0,
                                        988 / 1331.0,
                                        1115 / 1331.0,
                                        1206 / 1331.0,
                                        1267 / 1331.0,
                                        1304 / 1331.0,
                                        1323 / 1331.0,
                                        1330 / 1331.0,
                                        1};

} // namespace

using LumivaneStatusItemIconTest = StatusItemTest;

// The icon

TEST_F(LumivaneStatusItemIconTest, IconIsThereAtOnceAndRests) {
    makeController();
    ASSERT_TRUE(bar.hasIcon());
    EXPECT_EQ(controller->displayedState(), LumivaneDisplayState::resting);
    EXPECT_EQ(pictureCount(), 1);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::resting, 5.8));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(LumivaneStatusItemIconTest, IconComesInEverySizeThatTraysAskForFromOneDrawing) {
    makeController();
    const std::array edges{16, 22, 24, 32, 48, 64};
    ASSERT_EQ(bar.picture().size(), edges.size());
    for (std::size_t index = 0; index < edges.size(); ++index) {
        const QImage& image = bar.picture()[index];
        EXPECT_EQ(image.size(), QSize(edges[index], edges[index]));
        EXPECT_EQ(image.devicePixelRatio(), 1);
        EXPECT_EQ(image, drawn(LumivaneDisplayState::resting, 5.8, edges[index]));
    }
}

TEST_F(LumivaneStatusItemIconTest, TooltipAndSpokenValueNameTheState) {
    makeController();
    EXPECT_EQ(bar.icon().toolTips,
              (std::vector<QString>{u"Lumivane"_qs, u"Lumivane — Resting"_qs}));
    EXPECT_EQ(bar.icon().label, u"Lumivane"_qs);
    EXPECT_EQ(bar.icon().value, u"Resting"_qs);
    startCapturing();
    EXPECT_EQ(toolTip(), u"Lumivane — Capturing"_qs);
    EXPECT_EQ(bar.icon().value, u"Capturing"_qs);
    model->togglePaused();
    EXPECT_EQ(toolTip(), u"Lumivane — Paused"_qs);
    EXPECT_EQ(bar.icon().value, u"Paused"_qs);
    EXPECT_EQ(bar.icon().label, u"Lumivane"_qs);
}

TEST_F(LumivaneStatusItemIconTest, WithoutThePermissionTheIconIsPausedThoughTheSettingsAreNot) {
    hasScreenRecording = false;
    makeController();
    EXPECT_FALSE(model->settings().paused);
    EXPECT_EQ(controller->displayedState(), LumivaneDisplayState::paused);
    EXPECT_EQ(toolTip(), u"Lumivane — Paused"_qs);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::paused, 5.8));
}

TEST_F(LumivaneStatusItemIconTest, PermissionThatComesOrGoesIsFollowed) {
    hasScreenRecording = false;
    makeController();
    hasScreenRecording = true;
    controller->screenRecordingChanged();
    EXPECT_EQ(controller->displayedState(), LumivaneDisplayState::resting);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::resting, 5.8));
    hasScreenRecording = false;
    controller->screenRecordingChanged();
    EXPECT_EQ(toolTip(), u"Lumivane — Paused"_qs);
}

TEST_F(LumivaneStatusItemIconTest, StaysPausedWhileARunGoesOn) {
    makeController();
    startCapturing();
    model->togglePaused();
    EXPECT_EQ(model->state(), AnalysisState::capturing);
    EXPECT_EQ(controller->displayedState(), LumivaneDisplayState::paused);
}

TEST_F(LumivaneStatusItemIconTest, IsDrawnAnewWhenTheTrayChangesItsDress) {
    makeController();
    bar.setAppearance(Appearance::light);
    EXPECT_EQ(pictureCount(), 2);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::resting, 5.8, 32, Appearance::light));
    bar.setAppearance(Appearance::dark);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::resting, 5.8));
}

// The pupil

TEST_F(LumivaneStatusItemIconTest, PupilOpensInElevenFramesThatEaseOut) {
    makeController();
    startCapturing();
    for (int frame = 1; frame <= 11; ++frame) {
        EXPECT_EQ(pictureCount(), 1 + frame);
        const double radius = 5.8 + 3.2 * shares.at(frame - 1);
        EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, radius)) << frame;
        clock.advance(15ms);
        EXPECT_EQ(pictureCount(), 1 + frame) << "too early";
        clock.advance(1ms);
    }
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, capturingPupilRadius));
    EXPECT_EQ(pictureCount(), 12);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(LumivaneStatusItemIconTest, PupilClosesTheSameWay) {
    makeController();
    startCapturing();
    clock.advance(1s);
    const int before = pictureCount();
    endRun();
    for (int frame = 1; frame <= 11; ++frame) {
        EXPECT_EQ(pictureCount(), before + frame);
        const double radius = 9 - 3.2 * shares.at(frame - 1);
        EXPECT_EQ(shown(), drawn(LumivaneDisplayState::resting, radius)) << frame;
        clock.advance(16ms);
    }
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::resting, restingPupilRadius));
    EXPECT_EQ(pictureCount(), before + 11);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(LumivaneStatusItemIconTest, FirstFrameComesInTheNextTurnAndNotInsideTheSignal) {
    makeController();
    capture.script.hold();
    model->analyze(mainDisplay);
    while (model->state() != AnalysisState::capturing) {
        QCoreApplication::processEvents();
    }
    const int before = pictureCount();
    drainEvents();
    EXPECT_EQ(before, 1);
    EXPECT_EQ(pictureCount(), 2);
}

TEST_F(LumivaneStatusItemIconTest, TurningBackHalfWayStartsFromWhereThePupilIs) {
    makeController();
    startCapturing();
    clock.advance(4 * 16ms);
    const double reached = 5.8 + 3.2 * shares[4];
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, reached));
    const int before = pictureCount();
    endRun();
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::resting, reached + (5.8 - reached) * shares[0]));
    clock.advance(1s);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::resting, restingPupilRadius));
    EXPECT_EQ(pictureCount(), before + 11) << "the first animation went on";
}

TEST_F(LumivaneStatusItemIconTest, PausingSnapsThePupilBackWithoutAnAnimation) {
    makeController();
    startCapturing();
    clock.advance(1s);
    const int before = pictureCount();
    model->togglePaused();
    EXPECT_EQ(pictureCount(), before + 1);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::paused, 5.8));
    clock.advance(1s);
    EXPECT_EQ(pictureCount(), before + 1);
    endRun();
    // A pupil that had stayed wide would close now.
    model->togglePaused();
    clock.advance(1s);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::resting, 5.8));
    EXPECT_EQ(pictureCount(), before + 3);
}

TEST_F(LumivaneStatusItemIconTest, PausingInTheMiddleEndsTheAnimation) {
    makeController();
    startCapturing();
    clock.advance(3 * 16ms);
    const int before = pictureCount();
    model->togglePaused();
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::paused, 5.8));
    clock.advance(1s);
    EXPECT_EQ(pictureCount(), before + 1);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(LumivaneStatusItemIconTest, PauseThatEndsDuringARunOpensThePupilAgain) {
    makeController();
    startCapturing();
    model->togglePaused();
    model->togglePaused();
    const int before = pictureCount();
    clock.advance(1s);
    EXPECT_EQ(pictureCount(), before + 11);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, 9));
}

TEST_F(LumivaneStatusItemIconTest, ASecondWordOfTheSameStateLeavesTheAnimationRunning) {
    makeController();
    startCapturing();
    clock.advance(2 * 16ms);
    EXPECT_EQ(pictureCount(), 4);
    change([](AppSettings& settings) { settings.resultSeconds = 9; });
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, 5.8 + 3.2 * shares[2]));
    clock.advance(8 * 16ms);
    EXPECT_EQ(pictureCount(), 12) << "frames were lost, or a second animation runs";
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, 9));
    clock.advance(1s);
    EXPECT_EQ(pictureCount(), 12);
}

TEST_F(LumivaneStatusItemIconTest, APupilThatOpensGoesOnWhenTheRunTurnsToItsAnalysis) {
    service.script.hold();
    makeController();
    startCapturing();
    clock.advance(4 * 16ms);
    capture.script.release(0, FakeCapture::frame());
    drainEvents();
    ASSERT_EQ(model->state(), AnalysisState::analyzing);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, 5.8 + 3.2 * shares[4]));
    for (int frame = 6; frame <= 11; ++frame) {
        clock.advance(16ms);
        EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, 5.8 + 3.2 * shares.at(frame - 1)))
            << frame;
    }
    EXPECT_EQ(pictureCount(), 12);
    service.script.cancelPending();
    drainEvents();
}

TEST_F(LumivaneStatusItemIconTest, AWordOfTheSameStateUnderReduceMotionEndsTheAnimation) {
    makeController();
    startCapturing();
    clock.advance(2 * 16ms);
    accessibility.setReduceMotion(true);
    change([](AppSettings& settings) { settings.resultSeconds = 9; });
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, 9));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(LumivaneStatusItemIconTest, UnderReduceMotionThePupilSnaps) {
    accessibility.setReduceMotion(true);
    makeController();
    startCapturing();
    EXPECT_EQ(pictureCount(), 2);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, 9));
    EXPECT_EQ(clock.timerCount(), 0U);
    endRun();
    EXPECT_EQ(pictureCount(), 3);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::resting, 5.8));
}

TEST_F(LumivaneStatusItemIconTest, ADressThatChangesInTheMiddleShowsAtOnceAndTheAnimationGoesOn) {
    makeController();
    startCapturing();
    clock.advance(16ms);
    const double reached = 5.8 + 3.2 * shares[1];
    bar.setAppearance(Appearance::light);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, reached, 32, Appearance::light));
    clock.advance(1s);
    EXPECT_EQ(shown(), drawn(LumivaneDisplayState::capturing, 9, 32, Appearance::light));
}

} // namespace lumivane::test
