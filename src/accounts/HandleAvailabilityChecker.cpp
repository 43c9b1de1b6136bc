#include "accounts/HandleAvailabilityChecker.h"

#include "accounts/HandleFormat.h"

#include <utility>

namespace lumivane {

ProfileFieldState profileFieldState(HandleLocalVerdict verdict) {
    switch (verdict) {
    case HandleLocalVerdict::unchanged:
        return ProfileFieldState::idle();
    case HandleLocalVerdict::invalidFormat:
        return ProfileFieldState::invalidFormat();
    case HandleLocalVerdict::reserved:
        return ProfileFieldState::reserved();
    case HandleLocalVerdict::available:
        return ProfileFieldState::available();
    case HandleLocalVerdict::needsServerCheck:
        return ProfileFieldState::checking();
    }
    Q_UNREACHABLE();
}

HandleAvailabilityChecker::HandleAvailabilityChecker(Clock& clock,
                                                     std::chrono::milliseconds debounce)
    : m_clock(clock)
    , m_debounce(debounce) {}

std::optional<QString> HandleAvailabilityChecker::snapshotVersion() const {
    return m_snapshot ? std::optional(m_snapshot->version) : std::nullopt;
}

void HandleAvailabilityChecker::adopt(const HandleFilterOutcome& outcome) {
    if (std::holds_alternative<HandleFilterUnchanged>(outcome)) {
        return;
    }
    const auto* payload = std::get_if<HandleFilterPayload>(&outcome);
    adopt(payload == nullptr ? std::nullopt : HandleFilterSnapshot::from(*payload));
}

void HandleAvailabilityChecker::adopt(std::optional<HandleFilterSnapshot> snapshot) {
    m_snapshot = std::move(snapshot);
}

HandleLocalVerdict
HandleAvailabilityChecker::verdict(const QString& draft,
                                   const std::optional<QString>& currentHandle) const {
    const QString handle = HandleFormat::normalise(draft);
    const bool isWellFormed = HandleFormat::isWellFormed(handle);
    if (currentHandle && HandleFormat::fold(*currentHandle) == HandleFormat::fold(handle)) {
        if (handle == *currentHandle) {
            return HandleLocalVerdict::unchanged;
        }
        // Another case of the user's own handle, which the filter holds as well.
        return isWellFormed ? HandleLocalVerdict::available : HandleLocalVerdict::invalidFormat;
    }
    if (!isWellFormed) {
        return HandleLocalVerdict::invalidFormat;
    }
    if (HandleFormat::isReserved(handle)) {
        return HandleLocalVerdict::reserved;
    }
    const bool isFree = m_snapshot && !m_snapshot->mayContain(handle);
    return isFree ? HandleLocalVerdict::available : HandleLocalVerdict::needsServerCheck;
}

QCoro::Task<void> HandleAvailabilityChecker::waitForDebounce(std::stop_token stop) const {
    return m_clock.sleep(m_debounce, std::move(stop));
}

} // namespace lumivane
