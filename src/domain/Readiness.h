#pragma once

#include "domain/ClosedSet.h"

#include <array>
#include <optional>

namespace lumivane {

/// Whether a run can work.
enum class ReadinessState { checking, ready, needsPermission, needsService, invalidSettings };

/// The colour mood of the readiness pill.
enum class ReadinessPillMood { ready, paused, attention };

/// The control of the settings window that wants the user's attention.
enum class SettingsAttentionTarget { customPrompt, screenRecording, serviceConnection };

/// "ready" for `ready`, "needs attention" for all others, `checking` included.
constexpr QLatin1String label(ReadinessState state) {
    return state == ReadinessState::ready ? QLatin1String("ready")
                                          : QLatin1String("needs attention");
}

/// Which control the settings window should point at; none for `ready`.
constexpr std::optional<SettingsAttentionTarget> attentionTarget(ReadinessState state) {
    switch (state) {
    case ReadinessState::checking:
    case ReadinessState::needsService:
        return SettingsAttentionTarget::serviceConnection;
    case ReadinessState::needsPermission:
        return SettingsAttentionTarget::screenRecording;
    case ReadinessState::invalidSettings:
        return SettingsAttentionTarget::customPrompt;
    case ReadinessState::ready:
        break;
    }
    return std::nullopt;
}

/// `attention` for every state but `ready`, whether paused or not.
constexpr ReadinessPillMood readinessPillMood(ReadinessState state, bool isPaused) {
    if (state != ReadinessState::ready) {
        return ReadinessPillMood::attention;
    }
    return isPaused ? ReadinessPillMood::paused : ReadinessPillMood::ready;
}

/// What the readiness is worked out from.
struct ReadinessInputs {
    bool hasValidCustomPrompt = true;
    bool screenRecordingGranted = false;
    bool serviceChecking = false;
    bool serviceReady = false;
    bool isLeetCode = false;
    std::optional<bool> leetCodeServiceReady; ///< none until a health check says
};

/// The first trouble that a user should mend, in the order prompt, permission, check in progress,
/// service, LeetCode memory. A memory that is not known about passes.
constexpr ReadinessState resolveReadiness(const ReadinessInputs& inputs) {
    if (!inputs.hasValidCustomPrompt) {
        return ReadinessState::invalidSettings;
    }
    if (!inputs.screenRecordingGranted) {
        return ReadinessState::needsPermission;
    }
    if (inputs.serviceChecking) {
        return ReadinessState::checking;
    }
    if (!inputs.serviceReady) {
        return ReadinessState::needsService;
    }
    if (inputs.isLeetCode && inputs.leetCodeServiceReady == false) {
        return ReadinessState::needsService;
    }
    return ReadinessState::ready;
}

} // namespace lumivane
