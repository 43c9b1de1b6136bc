#include "accounts/AuthenticationCoordinator.h"

#include "accounts/AuthenticationFixture.h"

namespace lumivane {

using test::drainEvents;
using test::flagged;
using test::outcomeOf;
using test::watch;
using namespace std::chrono_literals;

namespace {

const std::vector every{AuthProvider::google, AuthProvider::facebook, AuthProvider::github};

LinkedDevice someDevice() {
    LinkedDevice device;
    device.deviceID = u"d-1"_qs;
    device.name = u"Studio"_qs;
    return device;
}

} // namespace

class AuthenticationCoordinatorTest : public test::AuthenticationFixture {
protected:
    using Coordinator = AuthenticationCoordinator;

    static void run(QCoro::Task<void> flow) {
        watch(flagged(std::move(flow)));
        drainEvents();
    }

    /// Restored from what is stored.
    std::unique_ptr<Coordinator> signedInCoordinator() {
        store.stored = service.session();
        auto coordinator = std::make_unique<Coordinator>(ports);
        run(coordinator->restore());
        EXPECT_TRUE(coordinator->isSignedIn());
        clearRecords();
        return coordinator;
    }

    DeviceTakeoverContext someTakeover() const {
        DeviceTakeoverContext context;
        context.ticket = SecretText("ticket-1");
        context.expiresAt = clock.wallNow().addSecs(300);
        return context;
    }
};

TEST_F(AuthenticationCoordinatorTest, ItBeginsRestoring) {
    const Coordinator coordinator(ports);
    const AccountStatus& shown = coordinator.status();
    EXPECT_TRUE(shown.state().is(StateCase::restoring));
    EXPECT_EQ(shown.providerAvailability(), ProviderAvailability::loading());
    EXPECT_EQ(shown.devicesState(), DeviceListState::idle);
    EXPECT_EQ(shown.handleState(), ProfileFieldState::idle());
    EXPECT_EQ(shown.displayNameState(), ProfileFieldState::idle());
    EXPECT_EQ(shown.errorMessage(), std::nullopt);
    EXPECT_FALSE(coordinator.isSignedIn());
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AuthenticationCoordinatorTest, ItMayBeginSignedOut) {
    Coordinator coordinator(ports, AuthenticationStart::signedOut);
    EXPECT_TRUE(coordinator.status().state().is(StateCase::signedOut));
    run(coordinator.restore());
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AuthenticationCoordinatorTest, ASeededUserIsSignedInWithPlaceholders) {
    AuthenticationSeeds seeds;
    seeds.user = service.user;
    Coordinator coordinator(ports, AuthenticationStart::restoring, seeds);
    EXPECT_EQ(coordinator.status().state(), AuthenticationState::signedIn(service.user));
    EXPECT_EQ(coordinator.status().providerAvailability(), ProviderAvailability::available(every));
    clock.jumpWall(std::chrono::hours(24 * 365 * 100));
    const auto token = outcomeOf(coordinator.validAccessToken(60s, {}));
    EXPECT_TRUE(token.value && !token.value->isEmpty());
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AuthenticationCoordinatorTest, SeededCredentialsAreTheOnesInUse) {
    AuthenticationSeeds seeds;
    seeds.credentials = service.login(4);
    seeds.user = UserSummary();
    Coordinator coordinator(ports, AuthenticationStart::restoring, seeds);
    EXPECT_EQ(coordinator.status().state(), AuthenticationState::signedIn(service.user));
    EXPECT_EQ(*outcomeOf(coordinator.validAccessToken(60s, {})).value, SecretText("access-4"));
}

TEST_F(AuthenticationCoordinatorTest, ASeededTakeoverStandsBeforeASeededUser) {
    AuthenticationSeeds seeds;
    seeds.user = service.user;
    seeds.takeover = someTakeover();
    const Coordinator coordinator(ports, AuthenticationStart::restoring, seeds);
    EXPECT_EQ(coordinator.status().state(), AuthenticationState::deviceTakeover(someTakeover()));
}

TEST_F(AuthenticationCoordinatorTest, EveryOtherSeedShowsAsItIs) {
    AuthenticationSeeds seeds;
    seeds.enabledProviders = std::vector{AuthProvider::github};
    seeds.devices = std::vector{someDevice()};
    seeds.devicesState = DeviceListState::unavailable;
    seeds.handle = ProfileFieldState::taken();
    const Coordinator coordinator(ports, AuthenticationStart::signedOut, seeds);
    const AccountStatus& shown = coordinator.status();
    EXPECT_TRUE(shown.state().is(StateCase::signedOut));
    EXPECT_EQ(shown.providerAvailability(),
              ProviderAvailability::available({AuthProvider::github}));
    EXPECT_EQ(shown.devices(), std::vector{someDevice()});
    EXPECT_EQ(shown.devicesState(), DeviceListState::unavailable);
    EXPECT_EQ(shown.handleState(), ProfileFieldState::taken());
}

TEST_F(AuthenticationCoordinatorTest, SeededDevicesCountAsLoaded) {
    AuthenticationSeeds seeds;
    seeds.devices = std::vector{someDevice()};
    const Coordinator coordinator(ports, AuthenticationStart::signedOut, seeds);
    EXPECT_EQ(coordinator.status().devicesState(), DeviceListState::loaded);
}

TEST_F(AuthenticationCoordinatorTest, OnlyAnUnseededOnePrimesTheFilter) {
    AuthenticationSeeds seeds;
    seeds.credentials = service.login(0);
    Coordinator fixed(ports, AuthenticationStart::restoring, seeds);
    run(fixed.primeHandleFilter(Loading::again));
    EXPECT_TRUE(service.requests.empty());
    const auto coordinator = signedInCoordinator();
    run(coordinator->primeHandleFilter(Loading::ifNeeded));
    EXPECT_EQ(service.requestsTo(u"handleFilter"_qs).size(), 1U);
}

TEST_F(AuthenticationCoordinatorTest, TheModelNeverMakesTheKeyringAsk) {
    const auto coordinator = signedInCoordinator();
    clock.advance(service.accessLifetime);
    EXPECT_TRUE(outcomeOf(coordinator->validAccessToken(60s, {})).value);
    EXPECT_EQ(store.savePrompts, (std::vector{UnlockPrompt::never, UnlockPrompt::never}));
}

TEST_F(AuthenticationCoordinatorTest, SigningOutLeavesNothingOfTheSession) {
    const auto coordinator = signedInCoordinator();
    service.devicesScript.answerWith(LinkedDeviceList{{someDevice()}});
    run(coordinator->loadDevices(Loading::again));
    coordinator->handleDraftChanged(u"no such handle!"_qs);
    const AccountStatus& shown = coordinator->status();
    ASSERT_EQ(shown.devices().size(), 1U);
    ASSERT_NE(shown.handleState(), ProfileFieldState::idle());
    int clearings = 0;
    bool wasForgotten = false;
    coordinator->setOnSessionCleared([&] {
        ++clearings;
        wasForgotten = shown.devices().empty() && shown.state().is(StateCase::signedOut) &&
                       shown.handleState() == ProfileFieldState::idle();
    });
    run(coordinator->signOut());
    EXPECT_EQ(clearings, 1);
    EXPECT_TRUE(wasForgotten);
    EXPECT_EQ(shown.devicesState(), DeviceListState::idle);
    EXPECT_EQ(shown.deviceActionInFlight(), std::nullopt);
    EXPECT_FALSE(shown.takeoverInFlight());
    EXPECT_FALSE(shown.deletionRetryAvailable());
    EXPECT_EQ(shown.displayNameState(), ProfileFieldState::idle());
    EXPECT_FALSE(coordinator->isSignedIn());
}

TEST_F(AuthenticationCoordinatorTest, SigningOutWhileAProfileSaveRunsLeavesBothFieldsIdle) {
    const auto coordinator = signedInCoordinator();
    const AccountStatus& shown = coordinator->status();
    service.profileScript.hold();
    run(coordinator->commitDisplayName(u"Countess"_qs));
    service.availabilityScript.answerWith({u"countess"_qs, true, std::nullopt});
    coordinator->handleDraftChanged(u"countess"_qs);
    run(coordinator->commitHandle(u"countess"_qs));
    ASSERT_EQ(shown.displayNameState(), ProfileFieldState::saving());
    ASSERT_EQ(shown.handleState(), ProfileFieldState::saving());
    run(coordinator->signOut());
    EXPECT_EQ(shown.displayNameState(), ProfileFieldState::idle());
    EXPECT_EQ(shown.handleState(), ProfileFieldState::idle());
    for (std::size_t index = 0; index < service.profileScript.pendingCount(); ++index) {
        service.profileScript.release(index, service.user);
    }
    drainEvents();
    EXPECT_EQ(shown.displayNameState(), ProfileFieldState::idle());
    EXPECT_EQ(shown.handleState(), ProfileFieldState::idle());
    EXPECT_TRUE(shown.state().is(StateCase::signedOut));
}

TEST_F(AuthenticationCoordinatorTest, TheEndOfTheSessionEndsATakeoverAndItsFlight) {
    for (const bool isSignedOutByUser : {true, false}) {
        AuthenticationSeeds seeds;
        seeds.takeover = someTakeover();
        Coordinator coordinator(ports, AuthenticationStart::signedOut, seeds);
        service.takeoverScript.hold();
        run(coordinator.confirmTakeover());
        ASSERT_TRUE(coordinator.status().takeoverInFlight());
        // In the middle of the clearing already, when others look.
        bool wasInFlight = true;
        coordinator.setOnSessionCleared(
            [&] { wasInFlight = coordinator.status().takeoverInFlight(); });
        if (isSignedOutByUser) {
            run(coordinator.signOut());
        } else {
            EXPECT_EQ(outcomeOf(coordinator.handleUnauthorized()).value, true);
        }
        EXPECT_FALSE(wasInFlight);
        EXPECT_FALSE(coordinator.status().takeoverInFlight());
        EXPECT_TRUE(coordinator.status().state().is(StateCase::signedOut));
        service.takeoverScript.cancelPending();
        drainEvents();
    }
}

TEST_F(AuthenticationCoordinatorTest, TheModelsOperationsReachTheSession) {
    auto coordinator = signedInCoordinator();
    const auto outcome = watch(coordinator->handleUnauthorized());
    drainEvents();
    EXPECT_EQ(outcome->value, true);
    EXPECT_FALSE(coordinator->isSignedIn());
    run(coordinator->signOutLocallyAfterEviction());
    EXPECT_EQ(coordinator->errorMessage(),
              u"You signed in on another Mac. Lumivane is signed in there now."_qs);
}

TEST_F(AuthenticationCoordinatorTest, ARetryReachesTheSession) {
    store.stored = service.session();
    service.refreshFailure = AuthenticationError(ErrorCase::unavailable);
    Coordinator coordinator(ports);
    run(coordinator.restore());
    ASSERT_TRUE(coordinator.status().state().is(StateCase::restoreFailed));
    service.refreshFailure.reset();
    run(coordinator.retryRestore());
    EXPECT_TRUE(coordinator.isSignedIn());
}

TEST_F(AuthenticationCoordinatorTest, ALoginGoesTheWholeWay) {
    Coordinator coordinator(ports, AuthenticationStart::signedOut);
    run(coordinator.loadProviders(Loading::ifNeeded));
    service.completeScript.answerWith(AuthCompletion(service.login(0)));
    run(coordinator.signIn(AuthProvider::google));
    EXPECT_TRUE(coordinator.isSignedIn());
    EXPECT_EQ(store.stored, service.session());
    EXPECT_EQ(*outcomeOf(coordinator.validAccessToken(60s, {})).value, SecretText("access-0"));
}

TEST_F(AuthenticationCoordinatorTest, ALoginThatIsGivenUpLeavesNothing) {
    Coordinator coordinator(ports, AuthenticationStart::signedOut);
    run(coordinator.loadProviders(Loading::ifNeeded));
    web.callback.hold();
    run(coordinator.signIn(AuthProvider::google));
    coordinator.cancelLogin();
    drainEvents();
    EXPECT_EQ(coordinator.status().state(), AuthenticationState::signedOut());
    EXPECT_EQ(coordinator.errorMessage(), std::nullopt);
    EXPECT_TRUE(service.requestsTo(u"complete"_qs).empty());
}

TEST_F(AuthenticationCoordinatorTest, ALoginThatMeetsAnotherMachineAsksAndMoves) {
    Coordinator coordinator(ports, AuthenticationStart::signedOut);
    run(coordinator.loadProviders(Loading::ifNeeded));
    DeviceTakeoverRequired required;
    required.takeoverTicket = SecretText("ticket-1");
    required.expiresAt = clock.wallNow().addSecs(300);
    service.completeScript.answerWith(AuthCompletion(required));
    run(coordinator.signIn(AuthProvider::google));
    ASSERT_TRUE(coordinator.status().state().is(StateCase::deviceTakeover));
    coordinator.cancelTakeover();
    EXPECT_TRUE(coordinator.status().state().is(StateCase::signedOut));
    run(coordinator.signIn(AuthProvider::google));
    service.takeoverScript.answerWith(service.login(0));
    run(coordinator.confirmTakeover());
    EXPECT_TRUE(coordinator.isSignedIn());
    EXPECT_EQ(service.requestsTo(u"takeover"_qs)[0].token, "ticket-1");
}

TEST_F(AuthenticationCoordinatorTest, AProofDeletesTheAccountAndItsSession) {
    const auto coordinator = signedInCoordinator();
    run(coordinator->loadProviders(Loading::ifNeeded));
    const DeleteReauthentication proof{SecretText("proof-1"), clock.wallNow().addSecs(300)};
    service.completeScript.answerWith(AuthCompletion(proof));
    run(coordinator->deleteAccount(AuthProvider::github));
    ASSERT_EQ(service.requestsTo(u"deleteAccount"_qs).size(), 1U);
    EXPECT_EQ(service.requestsTo(u"deleteAccount"_qs)[0].reauthProof, "proof-1");
    EXPECT_TRUE(coordinator->status().state().is(StateCase::signedOut));
    EXPECT_FALSE(store.stored);
}

TEST_F(AuthenticationCoordinatorTest, AFailedDeletionOffersARetryThatASignOutDrops) {
    const auto coordinator = signedInCoordinator();
    run(coordinator->loadProviders(Loading::ifNeeded));
    const DeleteReauthentication proof{SecretText("proof-1"), clock.wallNow().addSecs(300)};
    service.completeScript.answerWith(AuthCompletion(proof));
    service.deleteScript.failWith(AuthenticationError(ErrorCase::unavailable));
    run(coordinator->deleteAccount(AuthProvider::github));
    EXPECT_TRUE(coordinator->status().deletionRetryAvailable());
    EXPECT_TRUE(coordinator->isSignedIn());
    run(coordinator->signOut());
    EXPECT_FALSE(coordinator->status().deletionRetryAvailable());
    clearRecords();
    run(coordinator->retryAccountDeletion());
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(AuthenticationCoordinatorTest, AFailedProofIsTold) {
    const auto coordinator = signedInCoordinator();
    run(coordinator->loadProviders(Loading::ifNeeded));
    service.completeScript.failWith(AuthenticationError(ErrorCase::unavailable));
    run(coordinator->deleteAccount(AuthProvider::github));
    EXPECT_TRUE(coordinator->errorMessage());
    EXPECT_TRUE(coordinator->isSignedIn());
}

TEST_F(AuthenticationCoordinatorTest, TheProfileReachesTheService) {
    const auto coordinator = signedInCoordinator();
    UserSummary changed = service.user;
    changed.handle = u"countess"_qs;
    service.profileScript.answerWith(changed);
    service.availabilityScript.answerWith({u"countess"_qs, true, std::nullopt});
    coordinator->handleDraftChanged(u"countess"_qs);
    run(coordinator->commitHandle(u"countess"_qs));
    EXPECT_EQ(coordinator->status().state(), AuthenticationState::signedIn(changed));
    changed.displayName = u"Countess"_qs;
    service.profileScript.answerWith(changed);
    run(coordinator->commitDisplayName(u"Countess"_qs));
    EXPECT_EQ(coordinator->status().state(), AuthenticationState::signedIn(changed));
    coordinator->revertDisplayName();
    coordinator->revertHandle(u"countess"_qs);
    EXPECT_EQ(coordinator->status().handleState(), ProfileFieldState::idle());
    EXPECT_EQ(coordinator->status().displayNameState(), ProfileFieldState::idle());
}

TEST_F(AuthenticationCoordinatorTest, LinkingAndUnlinkingReachTheService) {
    const auto coordinator = signedInCoordinator();
    run(coordinator->loadProviders(Loading::ifNeeded));
    AuthCredentials linked = service.login(1);
    linked.user.linkedProviders = {AuthProvider::github, AuthProvider::google};
    service.completeScript.answerWith(AuthCompletion(linked));
    run(coordinator->link(AuthProvider::google));
    EXPECT_EQ(coordinator->status().state(), AuthenticationState::signedIn(linked.user));
    UserSummary unlinked = linked.user;
    unlinked.linkedProviders = {AuthProvider::github};
    service.unlinkScript.answerWith(unlinked);
    run(coordinator->unlink(AuthProvider::google));
    EXPECT_EQ(coordinator->status().state(), AuthenticationState::signedIn(unlinked));
}

} // namespace lumivane
