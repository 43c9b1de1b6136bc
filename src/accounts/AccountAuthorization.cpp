#include "accounts/AccountAuthorization.h"

#include "accounts/AuthenticationError.h"
#include "accounts/LoginCallback.h"
#include "accounts/PKCE.h"
#include "async/Cancelled.h"
#include "telemetry/LumivaneLog.h"

#include <exception>
#include <utility>

namespace lumivane {

namespace {

using Case = AuthenticationError::Case;

} // namespace

/// One login. Copies are one and the same.
struct AccountAuthorization::Login {
    Self owner;
    std::uint64_t generation;
    AuthProvider provider;
    AuthIntent intent;
    std::stop_token replaced; ///< by another login, or by nothing since the owner went

    static QCoro::Task<void> run(Login login);
    static QCoro::Task<AuthCompletion> complete(Login login);
    static QCoro::Task<void> accept(Login login, AuthCompletion completion);

    /// Whether what comes of it still counts. Looked at after every wait.
    bool isPresent() const {
        return owner && !replaced.stop_requested() && owner->m_keeper.generation() == generation;
    }

    void requirePresence() const {
        if (!isPresent()) {
            throw Cancelled{};
        }
    }

    /// From here on no other login takes its place.
    void leavePlace() const {
        if (owner && owner->m_login.get_token() == replaced) {
            owner->m_login = std::stop_source(std::nostopstate);
            owner->m_underWay.reset();
        }
    }

    void requireFuture(const QDateTime& date) const {
        if (date <= owner->m_ports.clock.wallNow()) {
            throw AuthenticationError(Case::invalidResponse);
        }
    }

    void acceptTakeover(const DeviceTakeoverRequired& required) const;
    void showFailure(const std::exception_ptr& failure) const;
    void showTrouble(const AuthenticationError& error) const;
};

AccountAuthorization::AccountAuthorization(const AuthenticationPorts& ports, AccountStatus& status,
                                           SessionKeeper& keeper)
    : m_ports(ports)
    , m_status(status)
    , m_keeper(keeper) {}

AccountAuthorization::~AccountAuthorization() {
    m_login.request_stop();
    m_life.request_stop();
}

QCoro::Task<void> AccountAuthorization::authorize(AuthProvider provider, AuthIntent intent) {
    m_login.request_stop();
    m_keeper.dropKeyringAdvice();
    m_login = std::stop_source();
    m_underWay = provider;
    m_status.setState(AuthenticationState::authorizing(provider));
    return Login::run({this, m_keeper.generation(), provider, intent, m_login.get_token()});
}

void AccountAuthorization::cancel() {
    if (!m_underWay || !m_status.state().is(AuthenticationState::Case::authorizing)) {
        return;
    }
    std::exchange(m_login, std::stop_source(std::nostopstate)).request_stop();
    m_underWay.reset();
    showFormerState();
}

QCoro::Task<AccountAuthorization::Device> AccountAuthorization::device(std::stop_token stop) {
    Device device;
    try {
        device.registration =
            co_await m_ports.deviceIdentity.registration(UnlockPrompt::allowed, stop);
    } catch (const std::exception&) {
        device.keyring = keyringTrouble(std::current_exception());
        LumivaneLog::lifecycle.log(
            "Device identity unavailable; completing the login without registering this Mac");
    }
    co_return device;
}

void AccountAuthorization::showFormerState() {
    if (!m_keeper.showSignedIn()) {
        m_status.setState(AuthenticationState::signedOut());
    }
}

QCoro::Task<void> AccountAuthorization::Login::run(Login login) {
    std::exception_ptr failure;
    try {
        const AuthCompletion completion = co_await complete(login);
        login.leavePlace();
        co_await accept(login, completion);
    } catch (...) {
        failure = std::current_exception();
    }
    login.leavePlace();
    if (!login.isPresent()) {
        co_return;
    }
    if (failure) {
        login.showFailure(failure);
    }
    // Another login may have begun while this one's result was stored, and it is what goes on.
    if (const auto provider = login.owner->m_underWay) {
        login.owner->m_status.setState(AuthenticationState::authorizing(*provider));
    }
}

QCoro::Task<AuthCompletion> AccountAuthorization::Login::complete(Login login) {
    const AuthenticationPorts ports = login.owner->m_ports;
    const SecretText verifier = PKCE::makeVerifier(ports.random);
    std::optional<SecretText> accessToken;
    if (login.intent != AuthIntent::signIn) {
        accessToken = co_await login.owner->m_keeper.validAccessToken(
            SessionKeeper::defaultMinimumValidity, UnlockPrompt::allowed, login.replaced);
        login.requirePresence();
        login.owner->m_status.setState(AuthenticationState::authorizing(login.provider));
    }
    const AuthTransaction transaction = co_await ports.service.createTransaction(
        login.provider, login.intent, PKCE::challenge(verifier), accessToken, login.replaced);
    login.requirePresence();
    const QString callback =
        co_await ports.webAuthenticator.authenticate(transaction.authorizationURL, login.replaced);
    login.requirePresence();
    const SecretText code = LoginCallback::handoffCode(callback, transaction.transactionID);
    const Device device = co_await login.owner->device(login.replaced);
    login.requirePresence();
    try {
        AuthCompletion completion =
            co_await ports.service.complete(transaction.transactionID, code, verifier, login.intent,
                                            device.registration, login.replaced);
        login.requirePresence();
        co_return completion;
    } catch (const AuthenticationError& error) {
        if (error.errorCase == Case::deviceRequired) {
            throw AuthenticationError(error.errorCase, device.keyring);
        }
        throw;
    }
}

QCoro::Task<void> AccountAuthorization::Login::accept(Login login, AuthCompletion completion) {
    const std::stop_token life = login.owner->m_life.get_token();
    if (const auto* required = std::get_if<DeviceTakeoverRequired>(&completion)) {
        login.acceptTakeover(*required);
        co_return;
    }
    const auto* proof = std::get_if<DeleteReauthentication>(&completion);
    if ((proof != nullptr) != (login.intent == AuthIntent::deleteReauth)) {
        throw AuthenticationError(Case::invalidResponse);
    }
    if (proof != nullptr) {
        login.requireFuture(proof->expiresAt);
        co_await login.owner->onDeleteProof(*proof, login.generation, life);
        co_return;
    }
    const AuthCredentials session = std::get<AuthCredentials>(completion);
    co_await login.owner->m_keeper.adopt(session, login.generation, life);
}

void AccountAuthorization::Login::acceptTakeover(const DeviceTakeoverRequired& required) const {
    requireFuture(required.expiresAt);
    if (intent != AuthIntent::signIn) {
        throw AuthenticationError(Case::deviceTakeoverRequired);
    }
    owner->onTakeoverRequired(required, provider, generation);
}

void AccountAuthorization::Login::showFailure(const std::exception_ptr& failure) const {
    try {
        std::rethrow_exception(failure);
    } catch (const Cancelled&) {
        owner->showFormerState();
    } catch (const AuthenticationError& error) {
        if (error.errorCase == Case::cancelled) {
            owner->showFormerState();
        } else {
            showTrouble(error);
        }
    } catch (const std::exception&) {
        showTrouble(Case::unavailable); // it has no words for a user
    }
}

void AccountAuthorization::Login::showTrouble(const AuthenticationError& error) const {
    if (intent == AuthIntent::deleteReauth) {
        owner->onDeleteFailure();
        return;
    }
    if (owner->m_keeper.credentials()) {
        owner->m_status.setErrorMessage(error.errorDescription());
        owner->m_keeper.showSignedIn();
    } else {
        owner->m_status.setState(AuthenticationState::failed(error.errorDescription()));
    }
}

} // namespace lumivane
