#include "overlays/ResultOverlayState.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivane {

namespace {

/// Held to what whole seconds can tell of a setting that nobody checked: no number is no time.
double boundedSeconds(double seconds) {
    constexpr double limit = 1e15;
    return std::isnan(seconds) ? 0 : std::clamp(seconds, -limit, limit);
}

} // namespace

void ResultOverlayState::setNotesFailure(std::optional<QString> message) {
    if (m_notesFailure != message) {
        m_notesFailure = std::move(message);
        Q_EMIT notesFailureChanged();
    }
}

void ResultOverlayState::beginCountdown(double total) {
    m_countdownTotal = boundedSeconds(total);
    tick(total, m_isPaused);
}

void ResultOverlayState::tick(double remaining, bool paused) {
    m_preciseRemaining = boundedSeconds(remaining);
    const auto seconds = static_cast<std::int64_t>(std::ceil(m_preciseRemaining));
    if (m_secondsRemaining != seconds) {
        m_secondsRemaining = seconds;
        Q_EMIT secondsRemainingChanged();
    }
    if (m_isPaused != paused) {
        m_isPaused = paused;
        Q_EMIT isPausedChanged();
    }
}

double ResultOverlayState::steppedFraction() const {
    return fraction(static_cast<double>(m_secondsRemaining.value_or(0)));
}

double ResultOverlayState::preciseFraction() const { return fraction(m_preciseRemaining); }

double ResultOverlayState::fraction(double remaining) const {
    return m_countdownTotal <= 0 ? 0 : std::clamp(remaining / m_countdownTotal, 0.0, 1.0);
}

} // namespace lumivane
