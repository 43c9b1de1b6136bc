#include "accounts/DisplayNameField.h"

#include <utility>

namespace lumivane {

DisplayNameField::DisplayNameField(const AuthenticationPorts& ports, AccountStatus& status,
                                   SessionKeeper& keeper, UserChanges& changes)
    : m_ports(ports)
    , m_status(status)
    , m_keeper(keeper)
    , m_changes(changes)
    , m_shown(ports.clock, status, &AccountStatus::displayNameState,
              &AccountStatus::setDisplayNameState) {}

QCoro::Task<void> DisplayNameField::commit(QString draft) {
    const auto user = m_status.state().user();
    const QString name = draft.trimmed();
    // Return and the loss of focus behind it commit the same text twice.
    if (!user || name == m_saving) {
        co_return;
    }
    // A save that has not been sent yet is not wanted any more, whatever this draft is.
    ++m_lastCommit;
    m_saving.reset();
    if (name.isEmpty() || name == user->displayName) {
        m_shown.show(ProfileFieldState::idle());
        co_return;
    }
    m_saving = name;
    m_shown.show(ProfileFieldState::saving());
    co_await save(Self(this), name, m_lastCommit);
}

QCoro::Task<void> DisplayNameField::save(Self self, QString name, int commit) {
    const SessionEpoch epoch(self->m_keeper);
    const auto isPresent = [self, epoch, commit] {
        return self && epoch.stands() && self->m_lastCommit == commit;
    };
    UserChanges::Change change;
    change.isWanted = isPresent;
    change.send = [service = &self->m_ports.service, name](const SecretText& token) {
        return service->updateProfile(std::nullopt, name, token, std::stop_token());
    };
    ProfileFieldState outcome = ProfileFieldState::saved();
    std::chrono::seconds shown = ShownFieldState::savedShown;
    try {
        co_await self->m_changes.make(change);
    } catch (const Cancelled&) {
        outcome = ProfileFieldState::idle();
    } catch (const std::exception&) {
        outcome = ProfileFieldState::failed(u"That name could not be saved. Try again."_qs);
        shown = ShownFieldState::troubleShown;
    }
    if (isPresent()) {
        self->m_saving.reset();
        self->m_shown.showFor(shown, outcome);
    }
}

void DisplayNameField::revert() { m_shown.show(ProfileFieldState::idle()); }

void DisplayNameField::forget() {
    m_saving.reset();
    revert();
}

} // namespace lumivane
