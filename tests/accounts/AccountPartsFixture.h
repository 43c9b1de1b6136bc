#pragma once

#include "accounts/AccountAuthorization.h"
#include "accounts/AuthenticationError.h"
#include "accounts/SessionKeeper.h"
#include "accounts/UserChanges.h"
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

#include <memory>

namespace lumivane::test {

/// What one part of the login stands on: the session of "ada", a service, a keyring, a browser. The
/// words that a user wrote are canaries, and no log line may hold any.
class AccountPartsFixture : public testing::Test {
protected:
    using Case = AuthenticationError::Case;
    using StateCase = AuthenticationState::Case;
    using Providers = std::vector<AuthProvider>;

    AccountPartsFixture() {
        service.user = {u"CanaryName"_qs,
                        u"canary@example.com"_qs,
                        {AuthProvider::github, AuthProvider::google},
                        u"ada"_qs};
        status.setProviderAvailability(
            ProviderAvailability::available({AuthProvider::google, AuthProvider::github}));
    }

    /// What the parts left waiting ends once they are gone.
    ~AccountPartsFixture() override { drainEvents(); }

    void TearDown() override {
        drainEvents();
        for (const char* canary : {"Canary", "canary", "ada", "cedar", "Grace", "access-",
                                   "refresh-", "proof-", "d-1"}) {
            EXPECT_FALSE(log.holds(canary)) << canary;
        }
    }

    /// Logs in as login number 0, by the keeper's own road.
    void signIn() {
        drainEvents();
        const auto adoption =
            watch(flagged(keeper.adopt(service.login(0), keeper.generation(), std::stop_token())));
        drainEvents();
        ASSERT_TRUE(adoption->value);
        journal.clear();
        service.requests.clear();
        store.savePrompts.clear();
    }

    /// The access token at hand has less than a minute left from now on.
    void letTheTokenAge() { clock.advance(service.accessLifetime - std::chrono::seconds(30)); }

    /// Signs out and waits until it is done.
    void signOut() {
        const auto outcome = watch(flagged(keeper.signOut()));
        drainEvents();
        ASSERT_TRUE(outcome->value);
    }

    /// Starts a flow that throws nothing; true once it has ended.
    std::shared_ptr<Outcome<bool>> start(QCoro::Task<void> flow) {
        auto outcome = watch(flagged(std::move(flow)));
        drainEvents();
        return outcome;
    }

    /// The same of a flow that nothing holds up.
    void run(QCoro::Task<void> flow) { EXPECT_TRUE(start(std::move(flow))->value); }

    AuthenticationState signedInAs(const UserSummary& user) const {
        return AuthenticationState::signedIn(user);
    }

    UserSummary userWith(const QString& handle, const QString& name = u"CanaryName"_qs) const {
        UserSummary user = service.user;
        user.handle = handle;
        user.displayName = name;
        return user;
    }

    UserSummary userLinkedWith(Providers providers) const {
        UserSummary user = service.user;
        user.linkedProviders = std::move(providers);
        return user;
    }

    static QString textOf(Case errorCase) {
        return AuthenticationError(errorCase).errorDescription();
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
    AccountStatus status{AuthenticationState::signedOut()};
    SessionKeeper keeper{ports, status};
    AccountAuthorization authorization{ports, status, keeper};
    UserChanges changes{keeper};
};

} // namespace lumivane::test
