#include "accounts/AccountDeletion.h"

namespace lumivane {

AccountDeletion::AccountDeletion(const AuthenticationPorts& ports, AccountStatus& status,
                                 SessionKeeper& keeper, AccountAuthorization& authorization)
    : m_ports(ports)
    , m_status(status)
    , m_keeper(keeper)
    , m_authorization(authorization) {}

QCoro::Task<void> AccountDeletion::deleteAccount(AuthProvider provider) {
    const auto& credentials = m_keeper.credentials();
    if (credentials && credentials->user.isLinked(provider) &&
        m_status.providerAvailability().offers(provider)) {
        co_await m_authorization.authorize(provider, AuthIntent::deleteReauth);
    }
}

QCoro::Task<void> AccountDeletion::retry() {
    if (!hasLivingProof()) {
        forget();
        co_return;
    }
    if (isUnderWay()) {
        co_return;
    }
    const Self self(this);
    const SessionEpoch epoch(m_keeper);
    try {
        co_await deleteWith(self, m_pendingProof->reauthProof, epoch, std::stop_token());
    } catch (const Cancelled&) { // the session has gone, and the offer with it
    } catch (const std::exception&) {
        if (self && self->hasLivingProof() && self->m_keeper.credentials()) {
            self->m_status.setDeletionRetryAvailable(true);
            self->showFailure();
        }
    }
}

QCoro::Task<void> AccountDeletion::finish(DeleteReauthentication proof, std::uint64_t generation,
                                          std::stop_token stop) {
    const Self self(this);
    const SessionEpoch epoch(m_keeper, generation);
    m_pendingProof = proof;
    m_status.setDeletionRetryAvailable(true);
    try {
        co_await deleteWith(self, proof.reauthProof, epoch, stop);
    } catch (const std::exception&) {
        // A refused token ends the session first, and another login may have begun since.
        if (self && epoch.maySpeak()) {
            self->showFailure();
        }
    }
}

QCoro::Task<void> AccountDeletion::deleteWith(Self self, SecretText proof, SessionEpoch epoch,
                                              std::stop_token stop) {
    const auto underWay = std::make_shared<const SessionEpoch>(epoch);
    self->m_underWay = underWay;
    const SessionRequest<void> request = [service = &self->m_ports.service, proof,
                                          stop](const SecretText& token) {
        return service->deleteAccount(token, proof, stop);
    };
    co_await requestInSession<void>(epoch, UnlockPrompt::allowed, request, stop);
    if (self) {
        co_await endSession(self);
    }
}

QCoro::Task<void> AccountDeletion::endSession(Self self) {
    self->forget();
    self->m_status.setErrorMessage(std::nullopt);
    try {
        co_await self->m_keeper.clearLocalSession(UnlockPrompt::allowed);
    } catch (const std::exception&) {
        // The keyring may take its time to refuse, and another login have begun by then.
        if (self && self->m_status.state().is(AuthenticationState::Case::signedOut)) {
            throw;
        }
        throw Cancelled{};
    }
}

void AccountDeletion::showFailure() {
    const QString text =
        hasLivingProof()
            ? u"Your identity is confirmed, but deletion could not finish. Retry before the confirmation expires."_qs
            : u"Lumivane could not finish secure account deletion. Please try again."_qs;
    m_status.setErrorMessage(text);
    if (!m_keeper.showSignedIn()) {
        m_status.setState(AuthenticationState::failed(text));
    }
}

void AccountDeletion::forget() {
    m_pendingProof.reset();
    m_status.setDeletionRetryAvailable(false);
}

bool AccountDeletion::hasLivingProof() const {
    return m_pendingProof && m_pendingProof->expiresAt > m_ports.clock.wallNow();
}

bool AccountDeletion::isUnderWay() const {
    const auto epoch = m_underWay.lock();
    return epoch && epoch->stands();
}

} // namespace lumivane
