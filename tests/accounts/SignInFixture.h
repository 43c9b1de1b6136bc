#pragma once

#include "accounts/AuthenticationFixture.h"
#include "accounts/DeviceTakeover.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane::test {

/// The parts of the login that a sign-in needs, put together as the coordinator does. A login
/// yields the service's login 1 unless a test says what else.
class SignInFixture : public AuthenticationFixture {
protected:
    using State = AuthenticationState;
    using Error = AuthenticationError;

    SignInFixture() {
        QObject::connect(&status, &AccountStatus::stateChanged, &status,
                         [this] { states.push_back(status.state()); });
        authorization->onTakeoverRequired =
            [this](const DeviceTakeoverRequired& required, AuthProvider provider,
                   std::uint64_t generation) { takeover->enter(required, provider, generation); };
        authorization->onDeleteProof = [this](const DeleteReauthentication& proof,
                                              std::uint64_t generation, std::stop_token stop) {
            proofs.push_back(proof);
            proofGenerations.push_back(generation);
            return done(deletion.call(std::move(stop)));
        };
        authorization->onDeleteFailure = [this] { ++deleteFailures; };
        keeper.onForgetting = [this] { takeover->forget(); };
        service.completeScript.answerWith(service.login(1));
    }

    ~SignInFixture() override {
        service.transactionScript.cancelPending();
        service.completeScript.cancelPending();
        service.takeoverScript.cancelPending();
        service.refreshAnswer.cancelPending();
        web.callback.cancelPending();
        device.script.cancelPending();
        store.saveGate.cancelPending();
        store.clearGate.cancelPending();
        deletion.cancelPending();
        drainEvents();
    }

    /// Somebody is signed in already, with the service's first tokens.
    void beSignedIn() {
        signIn();
        states.clear();
    }

    /// Begins a login and lets it go as far as it goes.
    std::shared_ptr<Outcome<bool>> start(AuthIntent intent = AuthIntent::signIn,
                                         AuthProvider provider = AuthProvider::github) {
        auto outcome = watch(flagged(authorization->authorize(provider, intent)));
        drainEvents();
        return outcome;
    }

    /// Runs a login to its end.
    void authorize(AuthIntent intent = AuthIntent::signIn,
                   AuthProvider provider = AuthProvider::github) {
        EXPECT_TRUE(start(intent, provider)->value);
    }

    /// The session goes, as by a sign-out or by a service that refused it.
    void endSession() {
        ASSERT_TRUE(outcomeOf(keeper.handleUnauthorized()).value);
        drainEvents();
    }

    /// What a login yields that meets the account on another machine.
    DeviceTakeoverRequired question(std::chrono::seconds lifetime = std::chrono::minutes(5),
                                    const QByteArray& ticket = "ticket-1") const {
        return {u"device_takeover_required"_qs,
                SecretText(ticket),
                clock.wallNow().addSecs(lifetime.count()),
                {u"Laptop"_qs, DeviceKind::laptop, u"macOS 15.1"_qs, std::nullopt}};
    }

    State questionState(const DeviceTakeoverRequired& required,
                        AuthProvider provider = AuthProvider::github) const {
        return State::deviceTakeover(
            {required.takeoverTicket, required.expiresAt, provider, required.currentDevice});
    }

    /// What a login for a deletion yields.
    DeleteReauthentication proof(std::chrono::seconds lifetime = std::chrono::minutes(5)) const {
        return {SecretText("proof-1"), clock.wallNow().addSecs(lifetime.count())};
    }

    static StoredSession storedFormOf(const AuthCredentials& login) {
        return {login.refreshToken, login.refreshExpiresAt, std::nullopt};
    }

    static QString textOf(Error::Case errorCase) { return Error(errorCase).errorDescription(); }

    State signedIn() const { return State::signedIn(service.user); }

    std::optional<AccountAuthorization> authorization{std::in_place, ports, status, keeper};
    std::optional<DeviceTakeover> takeover{std::in_place, ports, status, keeper, *authorization};

    std::vector<State> states; ///< every one since the start, in order

    ScriptedCall<bool> deletion{true}; ///< what is done with a proof
    std::vector<DeleteReauthentication> proofs;
    std::vector<std::uint64_t> proofGenerations;
    int deleteFailures = 0;

private:
    static QCoro::Task<void> done(QCoro::Task<bool> flow) { co_await flow; }
};

} // namespace lumivane::test
