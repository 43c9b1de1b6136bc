#pragma once

#include "domain/AnalysisState.h"
#include "domain/ClosedSet.h"

#include <array>

namespace lumivane {

/// What the status icon shows.
enum class LumivaneDisplayState { resting, capturing, paused };

namespace tables {

struct LumivaneDisplayStateRow {
    LumivaneDisplayState value;
    std::string_view rawValue;
    std::string_view accessibilityValue;
};

inline constexpr std::array lumivaneDisplayState{
    LumivaneDisplayStateRow{LumivaneDisplayState::resting, "resting", "Resting"},
    LumivaneDisplayStateRow{LumivaneDisplayState::capturing, "capturing", "Capturing"},
    LumivaneDisplayStateRow{LumivaneDisplayState::paused, "paused", "Paused"},
};

static_assert(isInCaseOrder(lumivaneDisplayState));

} // namespace tables

constexpr const auto& closedSetTable(LumivaneDisplayState) { return tables::lumivaneDisplayState; }

/// How the state is spoken, and what the icon's tooltip ends in.
constexpr QLatin1String accessibilityValue(LumivaneDisplayState state) {
    return toLatin1(closedSetRow(state).accessibilityValue);
}

/// A system that is paused, or that may not read the screen, shows as paused whatever its run does.
constexpr LumivaneDisplayState resolveDisplayState(bool isPaused, bool hasScreenRecording,
                                                   AnalysisState analysisState) {
    if (isPaused || !hasScreenRecording) {
        return LumivaneDisplayState::paused;
    }
    const bool isCapturing =
        analysisState == AnalysisState::capturing || analysisState == AnalysisState::analyzing;
    return isCapturing ? LumivaneDisplayState::capturing : LumivaneDisplayState::resting;
}

} // namespace lumivane
