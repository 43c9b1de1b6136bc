#pragma once

#include "accounts/AuthenticationError.h"
#include "accounts/SessionKeeper.h"
#include "support/EventLoop.h"
#include "support/FakeAuthService.h"
#include "support/FakeCredentialStore.h"
#include "support/FakeDeviceIdentity.h"
#include "support/FakeRandomSource.h"
#include "support/FakeWebAuthenticator.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

#include <map>

namespace lumivane::test {

/// A keeper over played ports, and with it what every part of the login stands on. Nothing waits:
/// `drainEvents` brings all flows to their next wait.
///
/// The journal tells what happened in which order: what the fakes were asked, "forgetting" and
/// "cleared" of the keeper, and every state by name.
class AuthenticationFixture : public testing::Test {
protected:
    using ErrorCase = AuthenticationError::Case;
    using StateCase = AuthenticationState::Case;

    explicit AuthenticationFixture(
        const AuthenticationState& state = AuthenticationState::signedOut())
        : status(state) {
        keeper.onForgetting = [this] { journal.add(u"forgetting"_qs); };
        keeper.onSessionCleared = [this] { journal.add(u"cleared"_qs); };
        QObject::connect(&status, &AccountStatus::stateChanged, &status,
                         [this] { journal.add(stateName()); });
    }

    ~AuthenticationFixture() override { drainEvents(); }

    /// A login as after signing in: tokens "access-0" and "refresh-0", stored; the journal is
    /// empty again.
    void signIn() {
        const AuthCredentials login = service.login(0);
        EXPECT_TRUE(
            outcomeOf(flagged(keeper.adopt(login, keeper.generation(), std::stop_token()))).value);
        clearRecords();
    }

    /// Signed in with an access token that has no more than a minute left.
    void signInBriefly() {
        signIn();
        clock.advance(service.accessLifetime - std::chrono::seconds(60));
    }

    void clearRecords() {
        drainEvents();
        journal.clear();
        service.requests.clear();
        store.saves.clear();
        store.savePrompts.clear();
        store.loadPrompts.clear();
        store.clearPrompts.clear();
        web.cancelCount = 0;
    }

    std::shared_ptr<Outcome<SecretText>>
    askToken(std::stop_token stop = {},
             std::chrono::seconds minimumValidity = SessionKeeper::defaultMinimumValidity) {
        auto outcome =
            watch(keeper.validAccessToken(minimumValidity, UnlockPrompt::never, std::move(stop)));
        drainEvents();
        return outcome;
    }

    bool isIn(StateCase expected) const { return status.state().is(expected); }

    bool isSignedInAs(const UserSummary& user) const {
        return status.state() == AuthenticationState::signedIn(user);
    }

    QString stateName() const {
        static const std::map<StateCase, QString> names{
            {StateCase::restoreFailed, u"restoreFailed"_qs},
            {StateCase::authorizing, u"authorizing"_qs},
            {StateCase::signedIn, u"signedIn"_qs},
            {StateCase::deviceTakeover, u"deviceTakeover"_qs},
            {StateCase::failed, u"failed"_qs},
            {StateCase::restoring, u"restoring"_qs},
            {StateCase::signedOut, u"signedOut"_qs},
            {StateCase::signingOut, u"signingOut"_qs},
            {StateCase::refreshing, u"refreshing"_qs}};
        return names.at(status.state().stateCase());
    }

    LogCapture log;
    Journal journal;
    ManualClock clock;
    FakeAuthService service{journal, clock};
    FakeCredentialStore store{journal};
    FakeWebAuthenticator web{journal};
    FakeDeviceIdentity device{journal};
    FakeRandomSource random;
    HandleAvailabilityChecker checker{clock};
    AuthenticationPorts ports{service, store, web, device, checker, random, clock};
    AccountStatus status;
    SessionKeeper keeper{ports, status};
};

} // namespace lumivane::test
