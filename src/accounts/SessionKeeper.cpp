#include "accounts/SessionKeeper.h"

#include "accounts/RefreshExchange.h"
#include "async/Cancelled.h"
#include "async/TaskHandle.h"

#include <array>
#include <cstddef>
#include <span>
#include <utility>

namespace lumivane {

namespace {

using Case = AuthenticationError::Case;

const QString interrupted = u"Session restoration was interrupted. Retry to continue."_qs;
const QString notWritten = u"Lumivane could not update its Keychain session."_qs;
const QString expiredNotRemoved =
    u"Your session expired, but Lumivane could not remove it from Keychain."_qs;

QUuid newOperationID(RandomSource& random) {
    std::array<std::byte, 16> bytes{};
    if (!random.fill(bytes)) {
        throw AuthenticationError(Case::unavailable);
    }
    bytes[6] = (bytes[6] & std::byte{0x0f}) | std::byte{0x40}; // version 4
    bytes[8] = (bytes[8] & std::byte{0x3f}) | std::byte{0x80}; // the common variant
    return QUuid::fromRfc4122(QByteArrayView(bytes.data(), qsizetype(bytes.size())));
}

bool isCancelled(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const Cancelled&) {
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace

SessionKeeper::SessionKeeper(const AuthenticationPorts& ports, AccountStatus& status)
    : m_ports(ports)
    , m_status(status) {}

SessionKeeper::~SessionKeeper() { cancelRefresh(); }

bool SessionKeeper::showSignedIn() {
    if (!m_credentials) {
        return false;
    }
    m_status.setState(AuthenticationState::signedIn(m_credentials->user));
    return true;
}

void SessionKeeper::showSignedInUnlessBusy() {
    using Case = AuthenticationState::Case;
    if (!m_status.state().is(Case::refreshing) && !m_status.state().is(Case::authorizing)) {
        showSignedIn();
    }
}

QCoro::Task<SecretText> SessionKeeper::validAccessToken(std::chrono::seconds minimumValidity,
                                                        UnlockPrompt prompt, std::stop_token stop) {
    if (hasTokenFor(minimumValidity)) {
        showSignedIn();
        co_return SecretText(m_credentials->accessToken);
    }
    if (m_refresh) {
        const AuthCredentials login = co_await RefreshExchange::wait(m_refresh, stop);
        co_return SecretText(login.accessToken);
    }
    throwIfStopped(stop);
    StoredSession session = sessionToRefresh();
    if (!session.pendingRefreshOperationID) {
        session.pendingRefreshOperationID = newOperationID(m_ports.random);
    }
    co_return co_await refreshed(session, prompt, stop);
}

bool SessionKeeper::hasTokenFor(std::chrono::seconds minimumValidity) const {
    if (!m_credentials) {
        return false;
    }
    const qint64 left = m_ports.clock.wallNow().msecsTo(m_credentials->accessExpiresAt);
    return minimumValidity < std::chrono::milliseconds(left);
}

bool SessionKeeper::isPast(const QDateTime& date) const { return date <= m_ports.clock.wallNow(); }

StoredSession SessionKeeper::sessionToRefresh() const {
    std::optional<StoredSession> session = m_storedSession;
    if (!session && m_credentials) {
        session = {m_credentials->refreshToken, m_credentials->refreshExpiresAt, std::nullopt};
    }
    if (!session || isPast(session->refreshExpiresAt)) {
        throw AuthenticationError(Case::expiredSession);
    }
    return std::move(*session);
}

QCoro::Task<SecretText> SessionKeeper::refreshed(StoredSession session, UnlockPrompt prompt,
                                                 std::stop_token stop) {
    const Self self(this);
    const std::uint64_t generation = m_generation;
    const auto exchange = std::make_shared<RefreshExchange>();
    m_refresh = exchange;
    m_status.setState(AuthenticationState::refreshing());
    TaskHandle::detach([self, ports = m_ports, exchange, session, prompt](std::stop_token) {
        return perform(self, ports, exchange, session, prompt);
    });
    std::exception_ptr error;
    try {
        co_return co_await takenOver(exchange, prompt, stop);
    } catch (...) {
        error = std::current_exception();
    }
    if (!self || m_generation != generation) {
        throw Cancelled{};
    }
    release(exchange);
    co_await handleFailure(exchange, error, prompt);
    std::rethrow_exception(error);
}

/// What no caller's stop ends, only the end of the session.
QCoro::Task<void> SessionKeeper::perform(Self self, AuthenticationPorts ports, Exchange exchange,
                                         StoredSession session, UnlockPrompt prompt) {
    const std::stop_token stop = exchange->stopToken();
    try {
        co_await ports.credentialStore.save(session, prompt, stop);
        throwIfStopped(stop);
        self->m_storedSession = session;
        exchange->isStored = true;
        const AuthCredentials answer = co_await ports.service.refresh(
            session.refreshToken, *session.pendingRefreshOperationID, stop);
        exchange->resolve(answer);
    } catch (...) {
        exchange->fail(std::current_exception());
    }
    if (self && !exchange->isOwned && !exchange->isCancelled()) {
        self->release(exchange);
        if (isCase(exchange->error(), Case::expiredSession)) {
            co_await self->cleared(prompt, expiredNotRemoved);
        }
    }
}

QCoro::Task<SecretText> SessionKeeper::takenOver(Exchange exchange, UnlockPrompt prompt,
                                                 std::stop_token stop) {
    const Self self(this);
    const AuthCredentials login = co_await RefreshExchange::wait(exchange, stop);
    throwIfStopped(stop);
    requireCurrent(self, *exchange);
    const StoredSession next{login.refreshToken, login.refreshExpiresAt, std::nullopt};
    co_await m_ports.credentialStore.save(next, prompt, stop);
    requireCurrent(self, *exchange);
    hold(login, next);
    release(exchange);
    co_return SecretText(login.accessToken);
}

void SessionKeeper::requireCurrent(const Self& self, const RefreshExchange& exchange) {
    if (!self || exchange.isCancelled() ||
        !self->m_status.state().is(AuthenticationState::Case::refreshing)) {
        throw Cancelled{};
    }
}

QCoro::Task<void> SessionKeeper::handleFailure(Exchange exchange, std::exception_ptr error,
                                               UnlockPrompt prompt) {
    showKeyringAdvice(keyringTrouble(error));
    if (isCase(error, Case::expiredSession)) {
        co_await cleared(prompt, expiredNotRemoved);
    } else if (showSignedIn()) {
        co_return;
    } else if (isCancelled(error)) {
        m_status.setState(AuthenticationState::restoreFailed(interrupted));
    } else if (exchange->isStored) {
        showNotRestored();
    } else {
        m_status.setState(AuthenticationState::failed(notWritten));
    }
}

QCoro::Task<void> SessionKeeper::adopt(AuthCredentials login, std::uint64_t generation,
                                       std::stop_token stop) {
    if (m_generation != generation) {
        throw Cancelled{};
    }
    // A refresh of the session before would store its tokens over these, so it ends here, and
    // whoever asks for a token until these are safe waits for them.
    cancelRefresh();
    const Self self(this);
    const auto exchange = std::make_shared<RefreshExchange>();
    m_refresh = exchange;
    std::exception_ptr error;
    try {
        const StoredSession session{login.refreshToken, login.refreshExpiresAt, std::nullopt};
        co_await m_ports.credentialStore.save(session, UnlockPrompt::allowed, stop);
        if (!self || exchange->isCancelled()) {
            throw Cancelled{};
        }
        exchange->resolve(login);
        hold(login, session);
        m_status.setErrorMessage(std::nullopt);
    } catch (...) {
        error = std::current_exception();
        exchange->fail(error);
    }
    if (self) {
        release(exchange);
    }
    if (error && (!self || m_generation != generation)) {
        throw Cancelled{};
    }
    if (error) {
        std::rethrow_exception(error);
    }
}

void SessionKeeper::replaceUser(UserSummary user) {
    if (!m_credentials) {
        return;
    }
    m_credentials = m_credentials->withUser(std::move(user));
    showSignedInUnlessBusy();
    m_status.setErrorMessage(std::nullopt);
}

void SessionKeeper::seed(AuthCredentials credentials) {
    m_credentials = std::move(credentials);
    showSignedIn();
}

void SessionKeeper::hold(const AuthCredentials& login, const StoredSession& session) {
    m_storedSession = session;
    m_credentials = login;
    dropKeyringAdvice();
    showSignedIn();
}

void SessionKeeper::showKeyringAdvice(KeyringTrouble trouble) {
    if (const auto advice = keyringAdvice(trouble)) {
        m_status.setErrorMessage(advice);
    }
}

void SessionKeeper::dropKeyringAdvice() {
    const auto& message = m_status.errorMessage();
    if (message && isKeyringAdvice(*message)) {
        m_status.setErrorMessage(std::nullopt);
    }
}

void SessionKeeper::release(const Exchange& exchange) {
    exchange->isOwned = false;
    if (exchange->hasEnded() && m_refresh == exchange) {
        m_refresh.reset();
    }
}

void SessionKeeper::cancelRefresh() {
    if (const Exchange exchange = std::exchange(m_refresh, nullptr)) {
        exchange->cancel();
    }
}

} // namespace lumivane
