#include "accounts/HandleField.h"

#include "accounts/AuthenticationError.h"
#include "accounts/HandleFormat.h"

#include <utility>

namespace lumivane {

/// One commit, from the judgement of the handle to what became of it.
struct HandleField::Commit {
    using Shared = std::shared_ptr<Commit>;

    Self field;
    SessionEpoch epoch;
    QString draft;
    QString handle;
    int number; ///< among the commits
    int edit;   ///< the last one of the user when the commit was made

    bool isNewest() const { return field && epoch.stands() && field->m_lastCommit == number; }

    /// Whether the field is still about this commit.
    bool isShown() const { return isNewest() && field->m_lastEdit == edit; }

    void show(ProfileFieldState state) const {
        if (isShown()) {
            field->m_shown.show(std::move(state));
        }
    }

    static QCoro::Task<void> run(Shared commit, QString currentHandle);
    static QCoro::Task<ProfileFieldState> judge(Shared commit, QString currentHandle);
    static QCoro::Task<void> save(Shared commit);
    static QCoro::Task<void> send(Shared commit);
    void showTrouble(AuthenticationError::Case errorCase) const;
};

HandleField::HandleField(const AuthenticationPorts& ports, AccountStatus& status,
                         SessionKeeper& keeper, UserChanges& changes)
    : m_ports(ports)
    , m_status(status)
    , m_keeper(keeper)
    , m_changes(changes)
    , m_shown(ports.clock, status, &AccountStatus::handleState, &AccountStatus::setHandleState) {}

QCoro::Task<void> HandleField::primeFilter(Loading loading) {
    if (!m_status.state().isSignedIn() || (loading == Loading::ifNeeded && m_filterRequested)) {
        co_return;
    }
    m_filterRequested = true;
    const Self self(this);
    const SessionEpoch epoch(m_keeper);
    const SessionRequest<HandleFilterOutcome> request = [ports = m_ports](const SecretText& token) {
        return ports.service.handleFilter(ports.handleChecker.snapshotVersion(), token,
                                          std::stop_token());
    };
    try {
        const HandleFilterOutcome outcome = co_await requestInSession<HandleFilterOutcome>(
            epoch, UnlockPrompt::never, request, std::stop_token());
        if (self) {
            self->m_ports.handleChecker.adopt(outcome);
        }
    } catch (const Cancelled&) { // silent: the service answers in the filter's place
    } catch (const std::exception&) {
    }
}

void HandleField::draftChanged(const QString& draft) {
    m_checkTask = TaskHandle();
    m_shown.keep();
    const auto user = m_status.state().user();
    if (!user) {
        return;
    }
    ++m_lastEdit;
    m_shown.show(ProfileFieldState::editing());
    m_checkTask = TaskHandle::start([self = Self(this), draft, handle = user->handle,
                                     epoch = SessionEpoch(m_keeper)](std::stop_token stop) {
        return check(self, draft, handle, epoch, std::move(stop));
    });
}

QCoro::Task<void> HandleField::check(Self self, QString draft, QString currentHandle,
                                     SessionEpoch epoch, std::stop_token stop) {
    throwIfStopped(stop);
    epoch.require();
    if (!self) {
        co_return;
    }
    const HandleLocalVerdict verdict = self->m_ports.handleChecker.verdict(draft, currentHandle);
    self->m_shown.show(profileFieldState(verdict));
    if (verdict != HandleLocalVerdict::needsServerCheck) {
        co_return;
    }
    co_await self->m_ports.handleChecker.waitForDebounce(stop);
    throwIfStopped(stop);
    epoch.require();
    const ProfileFieldState state = co_await serverAvailability(
        self, HandleFormat::normalise(draft), UnlockPrompt::never, epoch, stop);
    throwIfStopped(stop);
    epoch.require();
    if (self) {
        self->m_shown.show(state);
    }
}

QCoro::Task<ProfileFieldState> HandleField::serverAvailability(Self self, QString handle,
                                                               UnlockPrompt prompt,
                                                               SessionEpoch epoch,
                                                               std::stop_token stop) {
    if (!self) {
        throw Cancelled{};
    }
    const SessionRequest<HandleAvailabilityResult> request =
        [service = &self->m_ports.service, handle, stop](const SecretText& token) {
            return service->handleAvailability(handle, token, stop);
        };
    try {
        const HandleAvailabilityResult result =
            co_await requestInSession<HandleAvailabilityResult>(epoch, prompt, request, stop);
        if (result.available) {
            co_return ProfileFieldState::available();
        }
        co_return result.isReserved() ? ProfileFieldState::reserved() : ProfileFieldState::taken();
    } catch (const Cancelled&) {
        throwIfStopped(stop);
    } catch (const std::exception&) { // an outage shows nothing; saving has the last word
    }
    co_return ProfileFieldState::idle();
}

QCoro::Task<void> HandleField::commit(QString draft) {
    m_checkTask = TaskHandle();
    const auto user = m_status.state().user();
    if (!user) {
        co_return;
    }
    const QString handle = HandleFormat::normalise(draft);
    if (const auto saving = m_saving.lock();
        saving && saving->isNewest() && saving->handle == handle) {
        // Return and the loss of focus behind it commit the same text twice.
        saving->edit = m_lastEdit;
        m_shown.show(ProfileFieldState::saving());
        co_return;
    }
    ++m_lastCommit;
    if (handle == user->handle) {
        m_shown.show(ProfileFieldState::idle());
        co_return;
    }
    const SessionEpoch epoch(m_keeper);
    const auto commit = std::make_shared<Commit>(
        Commit{Self(this), epoch, draft, handle, m_lastCommit, ++m_lastEdit});
    co_await Commit::run(commit, user->handle);
}

QCoro::Task<void> HandleField::Commit::run(Shared commit, QString currentHandle) {
    using Case = ProfileFieldState::Case;
    ProfileFieldState judged = commit->field->m_shown.state();
    if (judged.is(Case::editing) || judged.is(Case::checking)) {
        commit->show(ProfileFieldState::checking());
        judged = co_await judge(commit, currentHandle);
        commit->show(judged);
    }
    if (!commit->isNewest()) {
        co_return;
    }
    if (judged.is(Case::available) && HandleFormat::isWellFormed(commit->handle)) {
        co_await save(commit);
    } else if (commit->isShown()) {
        commit->field->revert(commit->draft);
    }
}

QCoro::Task<ProfileFieldState> HandleField::Commit::judge(Shared commit, QString currentHandle) {
    const HandleLocalVerdict verdict =
        commit->field->m_ports.handleChecker.verdict(commit->draft, currentHandle);
    if (verdict != HandleLocalVerdict::needsServerCheck) {
        co_return profileFieldState(verdict);
    }
    co_return co_await serverAvailability(commit->field, commit->handle, UnlockPrompt::allowed,
                                          commit->epoch, std::stop_token());
}

QCoro::Task<void> HandleField::Commit::save(Shared commit) {
    commit->field->m_saving = commit;
    commit->show(ProfileFieldState::saving());
    try {
        co_await send(commit);
        if (commit->isShown()) {
            commit->field->m_shown.showFor(ShownFieldState::savedShown, ProfileFieldState::saved());
        }
    } catch (const Cancelled&) {
        commit->show(ProfileFieldState::idle());
    } catch (const AuthenticationError& error) {
        commit->showTrouble(error.errorCase);
    }
}

QCoro::Task<void> HandleField::Commit::send(Shared commit) {
    UserChanges::Change change;
    change.isWanted = [commit] { return commit->isNewest(); };
    change.send = [service = &commit->field->m_ports.service,
                   handle = commit->handle](const SecretText& token) {
        return service->updateProfile(handle, std::nullopt, token, std::stop_token());
    };
    return commit->field->m_changes.make(change);
}

void HandleField::Commit::showTrouble(AuthenticationError::Case errorCase) const {
    using Case = AuthenticationError::Case;
    if (!isShown()) {
        return;
    }
    const ProfileFieldState trouble =
        errorCase == Case::handleTaken ? ProfileFieldState::conflicted(handle)
        : errorCase == Case::handleReserved
            ? ProfileFieldState::reserved()
            : ProfileFieldState::failed(u"That handle could not be saved. Try again."_qs);
    field->m_shown.showFor(ShownFieldState::troubleShown, trouble);
}

void HandleField::revert(const QString& draft) {
    m_checkTask = TaskHandle();
    const auto user = m_status.state().user();
    if (!user || HandleFormat::normalise(draft) == user->handle) {
        m_shown.show(ProfileFieldState::idle());
    } else {
        m_shown.showFor(ShownFieldState::troubleShown, ProfileFieldState::reverted(user->handle));
    }
}

void HandleField::forget() {
    m_checkTask = TaskHandle();
    m_saving.reset();
    m_filterRequested = false;
    m_shown.show(ProfileFieldState::idle());
    m_ports.handleChecker.adopt(std::optional<HandleFilterSnapshot>());
}

} // namespace lumivane
