#pragma once

#include <QObject>
#include <QString>

#include <cstdint>
#include <optional>

namespace lumivane {

/// What of a result panel changes while it is up; it lives exactly as long as the panel.
///
/// The clock ticks ten times a second and observers hear of whole seconds only, so that a view is
/// drawn once a second and no more.
class ResultOverlayState final : public QObject {
    Q_OBJECT

public:
    /// The text of the Notes banner inside the panel.
    const std::optional<QString>& notesFailure() const { return m_notesFailure; }

    /// Whole seconds left, rounded up; none without a clock.
    std::optional<std::int64_t> secondsRemaining() const { return m_secondsRemaining; }

    /// The clock stands, because the pointer is over the panel.
    bool isPaused() const { return m_isPaused; }

    /// Seconds left, unrounded; nobody is told of its changes.
    double preciseRemaining() const { return m_preciseRemaining; }

    double countdownTotal() const { return m_countdownTotal; }

    void setNotesFailure(std::optional<QString> message);

    /// Called once, before the panel opens, so that its first frame shows the full time.
    void beginCountdown(double total);
    void tick(double remaining, bool paused);

    /// What is left of the whole, 0 to 1, in steps of a second and exactly; 0 without a clock.
    double steppedFraction() const;
    double preciseFraction() const;

Q_SIGNALS:
    void notesFailureChanged();
    void secondsRemainingChanged();
    void isPausedChanged();

private:
    double fraction(double remaining) const;

    std::optional<QString> m_notesFailure;
    std::optional<std::int64_t> m_secondsRemaining;
    bool m_isPaused = false;
    double m_preciseRemaining = 0;
    double m_countdownTotal = 0;
};

} // namespace lumivane
