#include "accounts/RefreshExchange.h"
#include "accounts/SessionKeeper.h"

#include <utility>

namespace lumivane {

namespace {

const QString notSignedOut = u"Lumivane cleared private app state, but could not remove the saved "
                             u"Keychain session. Check Keychain access."_qs;
const QString notConfirmed =
    u"Signed out on this Mac. Server revocation could not be confirmed; it "
    u"will expire automatically."_qs;
const QString revokedNotRemoved =
    u"Your session was revoked, but Lumivane could not remove it from Keychain."_qs;

/// Whether the service knows, or has nothing to know.
QCoro::Task<bool> revoked(AuthServing& service, std::optional<SecretText> refreshToken,
                          std::optional<SecretText> accessToken) {
    try {
        if (refreshToken) {
            co_await service.revoke(*refreshToken, std::stop_token());
        } else if (accessToken) {
            co_await service.logout(*accessToken, std::stop_token());
        }
    } catch (const AuthenticationError&) {
        co_return false;
    }
    co_return true;
}

} // namespace

QCoro::Task<void> SessionKeeper::clearLocalSession(UnlockPrompt prompt) {
    endEpoch();
    const auto clearing = m_ports.credentialStore.clear(prompt, std::stop_token());
    m_credentials.reset();
    m_storedSession.reset();
    m_isStoreUnread = false;
    if (onForgetting) {
        onForgetting();
    }
    m_status.setState(AuthenticationState::signedOut());
    if (onSessionCleared) {
        onSessionCleared();
    }
    co_await clearing;
}

QCoro::Task<void> SessionKeeper::signOut() {
    std::optional<SecretText> refreshToken;
    std::optional<SecretText> accessToken;
    if (m_credentials) {
        refreshToken = m_credentials->refreshToken;
        accessToken = m_credentials->accessToken;
    }
    if (m_storedSession) {
        refreshToken = m_storedSession->refreshToken;
    }
    endEpoch();
    m_status.setState(AuthenticationState::signingOut());
    const Self self(this);
    const auto revocation = revoked(m_ports.service, refreshToken, accessToken);
    const auto clearing = cleared(UnlockPrompt::allowed, notSignedOut);
    const std::uint64_t generation = m_generation;
    const bool isCleared = co_await clearing;
    const bool isRevoked = co_await revocation;
    if (isCleared && self && isWithoutSession(generation)) {
        m_status.setErrorMessage(isRevoked ? std::nullopt : std::optional(notConfirmed));
    }
}

QCoro::Task<bool> SessionKeeper::handleUnauthorized() {
    return cleared(UnlockPrompt::never, revokedNotRemoved);
}

QCoro::Task<void> SessionKeeper::signOutLocallyAfterEviction() {
    const auto clearing = clearLocalSession(UnlockPrompt::never);
    m_status.setErrorMessage(
        AuthenticationError(AuthenticationError::Case::deviceEvicted).errorDescription());
    try {
        co_await clearing;
    } catch (const std::exception&) { // the account is at home elsewhere, whatever stays here
    }
}

void SessionKeeper::endEpoch() {
    ++m_generation;
    cancelRefresh();
    m_ports.webAuthenticator.cancel();
}

/// Clears the session, and shows what to say where the store did not do so.
QCoro::Task<bool> SessionKeeper::cleared(UnlockPrompt prompt, QString troubleMessage) {
    const Self self(this);
    const auto clearing = clearLocalSession(prompt);
    const std::uint64_t generation = m_generation;
    try {
        co_await clearing;
        co_return true;
    } catch (const std::exception&) { // told below
    }
    if (self && isWithoutSession(generation)) {
        m_status.setErrorMessage(troubleMessage);
        // The user may be at the page of a login by now, and stays there.
        if (isSignedOut(generation)) {
            m_status.setState(AuthenticationState::failed(troubleMessage));
        }
    }
    co_return false;
}

bool SessionKeeper::isWithoutSession(std::uint64_t generation) const {
    return m_generation == generation && !m_credentials;
}

bool SessionKeeper::isSignedOut(std::uint64_t generation) const {
    return m_generation == generation && m_status.state().is(AuthenticationState::Case::signedOut);
}

bool SessionKeeper::isUnfollowed(std::uint64_t generation) const {
    using Case = AuthenticationState::Case;
    const bool isAtItsEnd =
        m_status.state().is(Case::signedOut) || m_status.state().is(Case::failed);
    return m_generation == generation || (isWithoutSession(generation + 1) && isAtItsEnd);
}

} // namespace lumivane
