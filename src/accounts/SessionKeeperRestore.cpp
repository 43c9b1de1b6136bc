#include "accounts/RefreshExchange.h"
#include "accounts/SessionKeeper.h"
#include "domain/StrictJson.h"

#include <utility>

namespace lumivane {

namespace {

using Case = AuthenticationError::Case;
using StateCase = AuthenticationState::Case;

const QString notRestored =
    u"Lumivane could not restore your session. Try again when the service is available."_qs;
const QString unusableNotRemoved =
    u"Lumivane could not remove the expired session from Keychain."_qs;

KeyringTrouble troubleOfLoad(const std::exception_ptr& error) {
    if (error) {
        try {
            std::rethrow_exception(error);
        } catch (const DecodingError&) {
            return KeyringTrouble::damaged;
        } catch (...) { // told by the error itself
        }
    }
    return keyringTrouble(error);
}

} // namespace

QCoro::Task<void> SessionKeeper::restore() {
    if (m_isRestoring || !m_status.state().is(StateCase::restoring)) {
        co_return;
    }
    const Self self(this);
    m_isRestoring = true;
    co_await bringBack(UnlockPrompt::never);
    if (self) {
        m_isRestoring = false;
    }
}

QCoro::Task<void> SessionKeeper::retryRestore() {
    const bool hasSomethingToRetry = m_storedSession || m_isStoreUnread;
    if (m_isRestoring || !hasSomethingToRetry || !m_status.state().is(StateCase::restoreFailed)) {
        co_return;
    }
    const Self self(this);
    m_isRestoring = true;
    dropKeyringAdvice();
    m_status.setState(AuthenticationState::restoring());
    if (m_storedSession) {
        co_await bringBackHeld();
    } else {
        co_await bringBack(UnlockPrompt::allowed);
    }
    if (self) {
        m_isRestoring = false;
    }
}

QCoro::Task<void> SessionKeeper::bringBack(UnlockPrompt prompt) {
    const Self self(this);
    const std::uint64_t generation = m_generation;
    std::optional<StoredSession> session;
    std::exception_ptr error;
    try {
        session = co_await m_ports.credentialStore.load(prompt, std::stop_token());
    } catch (...) {
        error = std::current_exception();
    }
    if (!self || !isRestoring(generation)) {
        co_return;
    }
    m_isStoreUnread = error != nullptr;
    showKeyringAdvice(troubleOfLoad(error));
    if (!error) {
        if (!session || isPast(session->refreshExpiresAt)) {
            co_await removeUnusable(prompt, generation);
            co_return;
        }
        m_storedSession = session;
        error = (co_await troubleWithToken(prompt)).error;
    }
    if (!self || !error) {
        co_return;
    }
    if (isCase(error, Case::expiredSession)) {
        co_await removeRefused(prompt, generation);
    } else if (m_generation == generation && !showSignedIn()) {
        showNotRestored();
    }
}

QCoro::Task<void> SessionKeeper::bringBackHeld() {
    const Self self(this);
    const std::uint64_t generation = m_generation;
    std::exception_ptr error = (co_await troubleWithToken(UnlockPrompt::allowed)).error;
    if (!error && self && isRestoring(generation)) {
        // The token came from an exchange whose owner has left, so nobody has taken the login over.
        error = (co_await troubleWithToken(UnlockPrompt::allowed)).error;
    }
    if (!self || !error) {
        co_return;
    }
    if (!isCase(error, Case::expiredSession)) {
        if (m_generation == generation) {
            showNotRestored();
        }
    } else if (isRestoring(generation) || hasFailedToClearSince(generation)) {
        m_status.setState(AuthenticationState::signedOut());
    }
}

QCoro::Task<SessionKeeper::Trouble> SessionKeeper::troubleWithToken(UnlockPrompt prompt) {
    Trouble trouble;
    try {
        co_await validAccessToken(defaultMinimumValidity, prompt, std::stop_token());
    } catch (...) {
        trouble.error = std::current_exception();
    }
    co_return trouble;
}

QCoro::Task<void> SessionKeeper::removeUnusable(UnlockPrompt prompt, std::uint64_t generation) {
    const Self self(this);
    AuthenticationState next = AuthenticationState::signedOut();
    try {
        co_await m_ports.credentialStore.clear(prompt, std::stop_token());
    } catch (...) {
        next = AuthenticationState::failed(unusableNotRemoved);
    }
    if (self && isRestoring(generation)) {
        m_status.setState(next);
    }
}

QCoro::Task<void> SessionKeeper::removeRefused(UnlockPrompt prompt, std::uint64_t generation) {
    // A refused refresh has cleared the session by itself; only where that failed, once more.
    if (!isRestoring(generation) && !hasFailedToClearSince(generation)) {
        co_return;
    }
    const Self self(this);
    const auto clearing = clearLocalSession(prompt);
    const std::uint64_t clearedGeneration = m_generation;
    bool isCleared = true;
    try {
        co_await clearing;
    } catch (...) {
        isCleared = false;
    }
    if (!self || !isSignedOut(clearedGeneration)) {
        co_return;
    }
    if (isCleared) {
        m_status.setErrorMessage(std::nullopt); // the first try may have left one
    } else {
        m_status.setState(AuthenticationState::failed(unusableNotRemoved));
    }
}

bool SessionKeeper::isRestoring(std::uint64_t generation) const {
    return m_generation == generation && m_status.state().is(StateCase::restoring);
}

bool SessionKeeper::hasFailedToClearSince(std::uint64_t generation) const {
    return m_generation == generation + 1 && m_status.state().is(StateCase::failed);
}

void SessionKeeper::showNotRestored() {
    m_status.setState(AuthenticationState::restoreFailed(notRestored));
}

} // namespace lumivane
