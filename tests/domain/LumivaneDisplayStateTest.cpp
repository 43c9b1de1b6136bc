#include "domain/LumivaneDisplayState.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

constexpr AnalysisState allAnalysisStates[] = {AnalysisState::idle, AnalysisState::capturing,
                                               AnalysisState::analyzing,
                                               AnalysisState::showingResult};

} // namespace

TEST(LumivaneDisplayState, RawValuesStandInTheirOrder) {
    const auto cases = allCases<LumivaneDisplayState>();
    ASSERT_EQ(cases.size(), 3U);
    EXPECT_EQ(rawValue(cases[0]), QLatin1String("resting"));
    EXPECT_EQ(rawValue(cases[1]), QLatin1String("capturing"));
    EXPECT_EQ(rawValue(cases[2]), QLatin1String("paused"));
    EXPECT_EQ(fromRawValue<LumivaneDisplayState>(u"capturing"), LumivaneDisplayState::capturing);
    EXPECT_EQ(fromRawValue<LumivaneDisplayState>(u"Capturing"), std::nullopt);
}

TEST(LumivaneDisplayState, IsSpokenCapitalised) {
    EXPECT_EQ(accessibilityValue(LumivaneDisplayState::resting), QLatin1String("Resting"));
    EXPECT_EQ(accessibilityValue(LumivaneDisplayState::capturing), QLatin1String("Capturing"));
    EXPECT_EQ(accessibilityValue(LumivaneDisplayState::paused), QLatin1String("Paused"));
}

TEST(LumivaneDisplayState, FollowsTheRunWhileWorking) {
    EXPECT_EQ(resolveDisplayState(false, true, AnalysisState::idle), LumivaneDisplayState::resting);
    EXPECT_EQ(resolveDisplayState(false, true, AnalysisState::capturing),
              LumivaneDisplayState::capturing);
    EXPECT_EQ(resolveDisplayState(false, true, AnalysisState::analyzing),
              LumivaneDisplayState::capturing);
    EXPECT_EQ(resolveDisplayState(false, true, AnalysisState::showingResult),
              LumivaneDisplayState::resting);
}

TEST(LumivaneDisplayState, IsPausedWithoutThePermissionEvenIfNotPaused) {
    for (const AnalysisState state : allAnalysisStates) {
        EXPECT_EQ(resolveDisplayState(false, false, state), LumivaneDisplayState::paused);
    }
}

TEST(LumivaneDisplayState, IsPausedWhateverTheRunDoes) {
    for (const AnalysisState state : allAnalysisStates) {
        EXPECT_EQ(resolveDisplayState(true, true, state), LumivaneDisplayState::paused);
        EXPECT_EQ(resolveDisplayState(true, false, state), LumivaneDisplayState::paused);
    }
}

} // namespace lumivane
