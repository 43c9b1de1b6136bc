#include "domain/Readiness.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

constexpr ReadinessState allStates[] = {
    ReadinessState::checking, ReadinessState::ready, ReadinessState::needsPermission,
    ReadinessState::needsService, ReadinessState::invalidSettings};

constexpr ReadinessInputs healthy{.hasValidCustomPrompt = true,
                                  .screenRecordingGranted = true,
                                  .serviceChecking = false,
                                  .serviceReady = true,
                                  .isLeetCode = false,
                                  .leetCodeServiceReady = std::nullopt};

} // namespace

TEST(Readiness, CasesStandInTheirOrder) {
    for (int index = 0; index < 5; ++index) {
        EXPECT_EQ(static_cast<int>(allStates[index]), index);
    }
    EXPECT_EQ(static_cast<int>(ReadinessPillMood::ready), 0);
    EXPECT_EQ(static_cast<int>(ReadinessPillMood::paused), 1);
    EXPECT_EQ(static_cast<int>(ReadinessPillMood::attention), 2);
}

TEST(Readiness, OnlyReadyIsLabelledSo) {
    for (const ReadinessState state : allStates) {
        EXPECT_EQ(label(state),
                  QLatin1String(state == ReadinessState::ready ? "ready" : "needs attention"));
    }
}

TEST(Readiness, EachTroublePointsAtItsControl) {
    EXPECT_EQ(attentionTarget(ReadinessState::checking),
              SettingsAttentionTarget::serviceConnection);
    EXPECT_EQ(attentionTarget(ReadinessState::needsService),
              SettingsAttentionTarget::serviceConnection);
    EXPECT_EQ(attentionTarget(ReadinessState::needsPermission),
              SettingsAttentionTarget::screenRecording);
    EXPECT_EQ(attentionTarget(ReadinessState::invalidSettings),
              SettingsAttentionTarget::customPrompt);
    EXPECT_EQ(attentionTarget(ReadinessState::ready), std::nullopt);
}

TEST(Readiness, ThePillIsPausedOnlyWhenReady) {
    for (const ReadinessState state : allStates) {
        const bool isReady = state == ReadinessState::ready;
        EXPECT_EQ(readinessPillMood(state, true),
                  isReady ? ReadinessPillMood::paused : ReadinessPillMood::attention);
        EXPECT_EQ(readinessPillMood(state, false),
                  isReady ? ReadinessPillMood::ready : ReadinessPillMood::attention);
    }
}

TEST(Readiness, AllWellIsReady) { EXPECT_EQ(resolveReadiness(healthy), ReadinessState::ready); }

TEST(Readiness, TheFirstTroubleWins) {
    ReadinessInputs inputs{.hasValidCustomPrompt = false,
                           .screenRecordingGranted = false,
                           .serviceChecking = true,
                           .serviceReady = false,
                           .isLeetCode = true,
                           .leetCodeServiceReady = false};
    EXPECT_EQ(resolveReadiness(inputs), ReadinessState::invalidSettings);
    inputs.hasValidCustomPrompt = true;
    EXPECT_EQ(resolveReadiness(inputs), ReadinessState::needsPermission);
    inputs.screenRecordingGranted = true;
    EXPECT_EQ(resolveReadiness(inputs), ReadinessState::checking);
    inputs.serviceChecking = false;
    EXPECT_EQ(resolveReadiness(inputs), ReadinessState::needsService);
    inputs.serviceReady = true;
    EXPECT_EQ(resolveReadiness(inputs), ReadinessState::needsService);
    inputs.leetCodeServiceReady = true;
    EXPECT_EQ(resolveReadiness(inputs), ReadinessState::ready);
}

TEST(Readiness, ACheckInProgressShowsOverAServiceThatIsReady) {
    ReadinessInputs inputs = healthy;
    inputs.serviceChecking = true;
    EXPECT_EQ(resolveReadiness(inputs), ReadinessState::checking);
}

TEST(Readiness, AnUnknownLeetCodeMemoryPasses) {
    ReadinessInputs inputs = healthy;
    inputs.isLeetCode = true;
    EXPECT_EQ(resolveReadiness(inputs), ReadinessState::ready);
}

TEST(Readiness, TheLeetCodeMemoryMattersToItsPresetOnly) {
    ReadinessInputs inputs = healthy;
    inputs.leetCodeServiceReady = false;
    EXPECT_EQ(resolveReadiness(inputs), ReadinessState::ready);
    inputs.isLeetCode = true;
    EXPECT_EQ(resolveReadiness(inputs), ReadinessState::needsService);
}

} // namespace lumivane
