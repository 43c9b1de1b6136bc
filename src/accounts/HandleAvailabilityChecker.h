#pragma once

#include "accounts/HandleFilterSnapshot.h"
#include "accounts/ProfileFieldState.h"
#include "async/Clock.h"

#include <qcoro/qcorotask.h>

#include <chrono>
#include <optional>
#include <stop_token>

namespace lumivane {

/// What can be said of a draft of a handle without asking the service.
enum class HandleLocalVerdict { unchanged, invalidFormat, reserved, available, needsServerCheck };

/// What the field shows for a verdict; `checking` where the service has to be asked.
ProfileFieldState profileFieldState(HandleLocalVerdict verdict);

/// Owns the filter of taken handles and judges drafts by it. Main thread, which puts its calls in a
/// row; the clock must outlive it.
class HandleAvailabilityChecker {
public:
    static constexpr std::chrono::milliseconds defaultDebounce{350};

    explicit HandleAvailabilityChecker(Clock& clock,
                                       std::chrono::milliseconds debounce = defaultDebounce);

    /// The version to ask the service about; none without a filter.
    std::optional<QString> snapshotVersion() const;

    bool hasSnapshot() const { return m_snapshot.has_value(); }

    /// Takes what the service answered. A filter that is none leaves no filter.
    void adopt(const HandleFilterOutcome& outcome);

    void adopt(std::optional<HandleFilterSnapshot> snapshot);

    /// `currentHandle` is the user's own, without its "@".
    HandleLocalVerdict verdict(const QString& draft,
                               const std::optional<QString>& currentHandle) const;

    /// The pause in front of the service. Throws Cancelled once a stop is requested.
    QCoro::Task<void> waitForDebounce(std::stop_token stop) const;

private:
    Clock& m_clock;
    std::chrono::milliseconds m_debounce;
    std::optional<HandleFilterSnapshot> m_snapshot;
};

} // namespace lumivane
