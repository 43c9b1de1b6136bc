#include "KeyringFixture.h"
#include "accounts/AuthenticationError.h"
#include "accounts/KeychainCredentialStore.h"
#include "accounts/SessionKeeper.h"
#include "support/FakeAuthService.h"
#include "support/FakeDeviceIdentity.h"
#include "support/FakeRandomSource.h"
#include "support/FakeWebAuthenticator.h"
#include "support/ManualClock.h"
#include "support/ScriptedSecretService.h"

#include <gtest/gtest.h>

namespace lumivane {

using test::drainEvents;
using test::flagged;
using test::waitUntil;
using test::watch;

/// A login whose keyring does not do as it is told.
class LoginKeyringTest : public testing::Test {
protected:
    ~LoginKeyringTest() override {
        items.shutDown();
        drainEvents();
        pool.waitForDone();
    }

    /// What a further start ends in.
    AuthenticationState nextStart() {
        AccountStatus nextStatus;
        SessionKeeper next(ports, nextStatus);
        EXPECT_TRUE(test::outcomeOf(flagged(next.restore())).value);
        return nextStatus.state();
    }

    test::PrivateBus bus;
    test::SessionBus session{bus.address().toUtf8()};
    test::ScriptedSecretService keyring{bus.connect()};
    test::ManualClock clock;
    QThreadPool pool;
    SecretServiceItemStore items{clock, pool};
    test::Journal journal;
    test::FakeAuthService service{journal, clock};
    KeychainCredentialStore store{items};
    test::FakeWebAuthenticator web{journal};
    test::FakeDeviceIdentity device{journal};
    test::FakeRandomSource random;
    HandleAvailabilityChecker checker{clock};
    AuthenticationPorts ports{service, store, web, device, checker, random, clock};
    AccountStatus status{AuthenticationState::signedOut()};
    SessionKeeper keeper{ports, status};
};

TEST_F(LoginKeyringTest, AWriteThatComesLateLeavesAWholeSessionToTheNextStart) {
    keyring.holdsWrites = true;
    const auto login =
        watch(flagged(keeper.adopt(service.login(0), keeper.generation(), std::stop_token())));
    ASSERT_TRUE(waitUntil([this] { return keyring.isHolding(); }));
    clock.advance(SecretServiceItemStore::callLimit);
    ASSERT_TRUE(waitUntil([&] { return login->hasEnded(); }));
    EXPECT_EQ(login->errorAs<AuthenticationError>(),
              AuthenticationError(AuthenticationError::Case::unavailable, KeyringTrouble::missing));
    EXPECT_FALSE(keeper.credentials());
    EXPECT_FALSE(keeper.storedSession());
    EXPECT_FALSE(keyring.item);
    keyring.holdsWrites = false;
    keyring.release();
    ASSERT_TRUE(keyring.item);
    EXPECT_EQ(nextStart(), AuthenticationState::signedIn(service.user));
}

TEST_F(LoginKeyringTest, AWriteThatNeverComesLeavesNothing) {
    keyring.holdsWrites = true;
    const auto login =
        watch(flagged(keeper.adopt(service.login(0), keeper.generation(), std::stop_token())));
    ASSERT_TRUE(waitUntil([this] { return keyring.isHolding(); }));
    clock.advance(SecretServiceItemStore::callLimit);
    ASSERT_TRUE(waitUntil([&] { return login->hasEnded(); }));
    EXPECT_FALSE(login->value);
    EXPECT_EQ(nextStart(), AuthenticationState::signedOut());
}

} // namespace lumivane
