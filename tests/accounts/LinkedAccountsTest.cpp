#include "accounts/LinkedAccounts.h"

#include "accounts/AccountPartsFixture.h"

namespace lumivane {

/// Providers: which are offered, and which are linked.
class LinkedAccountsTest : public test::AccountPartsFixture {
protected:
    using Availability = ProviderAvailability;

    void linkAll() {
        service.user =
            userLinkedWith({AuthProvider::github, AuthProvider::google, AuthProvider::facebook});
        signIn();
    }

    std::vector<AuthProvider> sentUnlinks() const {
        std::vector<AuthProvider> sent;
        for (const auto& request : service.requestsTo(u"unlink"_qs)) {
            sent.push_back(request.provider.value());
        }
        return sent;
    }

    std::unique_ptr<LinkedAccounts> linked =
        std::make_unique<LinkedAccounts>(ports, status, keeper, authorization, changes);
};

TEST_F(LinkedAccountsTest, ProvidersAreListedInOurOwnOrderAndEachOnce) {
    status.setProviderAvailability(Availability::loading());
    service.providersScript.answerWith(
        {AuthProvider::github, AuthProvider::google, AuthProvider::github});
    run(linked->loadProviders(Loading::ifNeeded));
    EXPECT_EQ(status.providerAvailability(),
              Availability::available({AuthProvider::google, AuthProvider::github}));
    service.providersScript.answerWith(
        {AuthProvider::github, AuthProvider::facebook, AuthProvider::google});
    run(linked->loadProviders(Loading::again));
    EXPECT_EQ(status.providerAvailability(),
              Availability::available(
                  {AuthProvider::google, AuthProvider::facebook, AuthProvider::github}));
}

TEST_F(LinkedAccountsTest, AnEmptyListIsAvailable) {
    service.providersScript.answerWith({});
    run(linked->loadProviders(Loading::again));
    EXPECT_EQ(status.providerAvailability(), Availability::available({}));
    run(linked->loadProviders(Loading::ifNeeded));
    EXPECT_EQ(service.requestsTo(u"providers"_qs).size(), 1U);
}

TEST_F(LinkedAccountsTest, ProvidersThatAreThereAreAskedForAgainByForceAlone) {
    run(linked->loadProviders(Loading::ifNeeded));
    EXPECT_TRUE(service.requests.empty());
    service.providersScript.hold();
    const auto outcome = start(linked->loadProviders(Loading::again));
    EXPECT_EQ(status.providerAvailability(), Availability::loading());
    service.providersScript.release(0, {AuthProvider::github});
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.providerAvailability(), Availability::available({AuthProvider::github}));
}

TEST_F(LinkedAccountsTest, ProvidersThatCannotBeHadAreUnavailableWithoutAMessage) {
    service.providersScript.failWith(AuthenticationError(Case::unavailable));
    run(linked->loadProviders(Loading::again));
    EXPECT_EQ(status.providerAvailability(), Availability::unavailable());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    service.providersScript.failWith(Cancelled{});
    run(linked->loadProviders(Loading::ifNeeded));
    EXPECT_EQ(status.providerAvailability(), Availability::unavailable());
    service.providersScript.answerWith({AuthProvider::google});
    run(linked->loadProviders(Loading::ifNeeded));
    EXPECT_EQ(status.providerAvailability(), Availability::available({AuthProvider::google}));
}

TEST_F(LinkedAccountsTest, OfTwoLoadsTheLaterOneCounts) {
    service.providersScript.hold();
    const auto first = start(linked->loadProviders(Loading::again));
    const auto second = start(linked->loadProviders(Loading::again));
    service.providersScript.release(1, {AuthProvider::github});
    test::drainEvents();
    service.providersScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_TRUE(first->value && second->value);
    EXPECT_EQ(status.providerAvailability(), Availability::available({AuthProvider::github}));
}

TEST_F(LinkedAccountsTest, ALoadThatOutlivesItsOwnerTouchesNothing) {
    service.providersScript.hold();
    const auto outcome = start(linked->loadProviders(Loading::again));
    linked.reset();
    service.providersScript.release(0, {AuthProvider::github});
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.providerAvailability(), Availability::loading());
}

TEST_F(LinkedAccountsTest, OnlyAnOfferedProviderIsSignedInWith) {
    run(linked->signIn(AuthProvider::facebook));
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    service.completeScript.answerWith(service.login(0));
    run(linked->signIn(AuthProvider::google));
    EXPECT_EQ(status.state(), signedInAs(service.user));
    const auto transaction = service.requestsTo(u"createTransaction"_qs).at(0);
    EXPECT_EQ(transaction.provider, AuthProvider::google);
    EXPECT_EQ(transaction.intent, AuthIntent::signIn);
    EXPECT_TRUE(transaction.token.isEmpty());
}

TEST_F(LinkedAccountsTest, NothingIsOfferedWhileTheListLoadsOrCannotBeHad) {
    for (const Availability& availability :
         {Availability::loading(), Availability::unavailable(), Availability::available({})}) {
        status.setProviderAvailability(availability);
        run(linked->signIn(AuthProvider::github));
        run(linked->link(AuthProvider::github));
    }
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(LinkedAccountsTest, OnlyAnOfferedProviderIsLinked) {
    signIn();
    run(linked->link(AuthProvider::facebook));
    EXPECT_TRUE(service.requests.empty());
    service.user = userLinkedWith({AuthProvider::github, AuthProvider::google});
    service.completeScript.answerWith(service.login(0));
    run(linked->link(AuthProvider::google));
    EXPECT_EQ(status.state(), signedInAs(service.user));
    const auto transaction = service.requestsTo(u"createTransaction"_qs).at(0);
    EXPECT_EQ(transaction.provider, AuthProvider::google);
    EXPECT_EQ(transaction.intent, AuthIntent::link);
    EXPECT_EQ(transaction.token, "access-0");
}

TEST_F(LinkedAccountsTest, ALinkThatFailsIsAMessageAndTheUserStaysLoggedIn) {
    signIn();
    for (const Case errorCase : {Case::identityAlreadyLinked, Case::providerAlreadyLinked,
                                 Case::deviceTakeoverRequired, Case::unavailable}) {
        service.completeScript.failWith(AuthenticationError(errorCase));
        run(linked->link(AuthProvider::google));
        EXPECT_EQ(status.errorMessage(), textOf(errorCase));
        EXPECT_EQ(status.state(), signedInAs(service.user));
    }
}

TEST_F(LinkedAccountsTest, AnUnlinkedProviderGoesFromTheUser) {
    linkAll();
    status.setErrorMessage(u"Trouble"_qs);
    const UserSummary left = userLinkedWith({AuthProvider::github, AuthProvider::google});
    service.unlinkScript.answerWith(left);
    run(linked->unlink(AuthProvider::facebook)); // which the service need not offer any more
    EXPECT_EQ(status.state(), signedInAs(left));
    EXPECT_EQ(keeper.credentials()->user, left);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(sentUnlinks(), std::vector{AuthProvider::facebook});
    EXPECT_EQ(service.requests.front().token, "access-0");
}

TEST_F(LinkedAccountsTest, TheOnlyLoginIsNotUnlinked) {
    service.user = userLinkedWith({AuthProvider::github});
    signIn();
    run(linked->unlink(AuthProvider::github));
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(status.state(), signedInAs(service.user));
}

TEST_F(LinkedAccountsTest, WhatIsNotLinkedIsNotUnlinked) {
    signIn();
    run(linked->unlink(AuthProvider::facebook));
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(LinkedAccountsTest, NothingIsUnlinkedWithoutASession) {
    run(linked->unlink(AuthProvider::github));
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(LinkedAccountsTest, AnUnlinkThatFailsIsAMessageAndTheUserStaysLoggedIn) {
    linkAll();
    for (const Case errorCase :
         {Case::lastIdentity, Case::unavailable, Case::expiredSession, Case::invalidResponse}) {
        service.unlinkScript.failWith(AuthenticationError(errorCase));
        run(linked->unlink(AuthProvider::google));
        EXPECT_EQ(status.errorMessage(), textOf(errorCase));
        EXPECT_EQ(status.state(), signedInAs(service.user));
    }
}

TEST_F(LinkedAccountsTest, AnUnlinkThatIsCancelledSaysNothing) {
    linkAll();
    service.unlinkScript.failWith(Cancelled{});
    run(linked->unlink(AuthProvider::google));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(status.state(), signedInAs(service.user));
}

TEST_F(LinkedAccountsTest, AnUnlinkMayAskForTheKeyring) {
    linkAll();
    letTheTokenAge();
    service.unlinkScript.answerWith(userLinkedWith({AuthProvider::github}));
    run(linked->unlink(AuthProvider::google));
    EXPECT_EQ(service.requestsTo(u"unlink"_qs).front().token, "access-1");
    EXPECT_EQ(store.savePrompts.front(), UnlockPrompt::allowed);
}

TEST_F(LinkedAccountsTest, ARefusedTokenEndsTheSessionWithAWord) {
    linkAll();
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::expiredSession);
    run(linked->unlink(AuthProvider::google));
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_EQ(status.errorMessage(), textOf(Case::expiredSession));
    EXPECT_TRUE(sentUnlinks().empty());
}

TEST_F(LinkedAccountsTest, ARefusedTokenDoesNotSpeakIntoTheNextLogin) {
    linkAll();
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::expiredSession);
    store.clearGate.hold();
    const auto outcome = start(linked->unlink(AuthProvider::google));
    ASSERT_EQ(status.state(), AuthenticationState::signedOut());
    status.setState(AuthenticationState::authorizing(AuthProvider::github));
    store.clearGate.release(0, true);
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), AuthenticationState::authorizing(AuthProvider::github));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(LinkedAccountsTest, ARefusedTokenDoesNotSpeakToWhoHasLoggedInSince) {
    linkAll();
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::expiredSession);
    store.clearGate.hold();
    const auto outcome = start(linked->unlink(AuthProvider::google));
    keeper.seed(service.login(3));
    store.clearGate.release(0, true);
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), signedInAs(service.user));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(LinkedAccountsTest, SignOutDuringAnUnlinkDropsItsAnswer) {
    for (const bool succeeds : {true, false}) {
        linkAll();
        service.unlinkScript = test::ScriptedCall<UserSummary>(service.user);
        service.unlinkScript.hold();
        const auto outcome = start(linked->unlink(AuthProvider::google));
        signOut();
        if (succeeds) {
            service.unlinkScript.release(0, userLinkedWith({AuthProvider::github}));
        } else {
            service.unlinkScript.fail(0, AuthenticationError(Case::expiredSession));
        }
        test::drainEvents();
        EXPECT_TRUE(outcome->value);
        EXPECT_EQ(status.state(), AuthenticationState::signedOut());
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        EXPECT_FALSE(keeper.credentials());
    }
}

TEST_F(LinkedAccountsTest, SignOutWhileTheTokenIsFetchedUnlinksNothing) {
    linkAll();
    letTheTokenAge();
    service.refreshAnswer.hold();
    const auto outcome = start(linked->unlink(AuthProvider::google));
    signOut();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(sentUnlinks().empty());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    service.refreshAnswer.cancelPending();
}

// Two at once: the second waits for the first, and what the first has left decides whether it is
// sent at all.

TEST_F(LinkedAccountsTest, TwoUnlinksGoOneAfterAnother) {
    linkAll();
    service.unlinkScript.hold();
    const auto first = start(linked->unlink(AuthProvider::google));
    const auto second = start(linked->unlink(AuthProvider::facebook));
    EXPECT_EQ(sentUnlinks(), std::vector{AuthProvider::google});
    service.unlinkScript.release(0, userLinkedWith({AuthProvider::github, AuthProvider::facebook}));
    test::drainEvents();
    EXPECT_EQ(sentUnlinks(), (std::vector{AuthProvider::google, AuthProvider::facebook}));
    service.unlinkScript.release(1, userLinkedWith({AuthProvider::github}));
    test::drainEvents();
    EXPECT_TRUE(first->value && second->value);
    EXPECT_EQ(status.state(), signedInAs(userLinkedWith({AuthProvider::github})));
}

TEST_F(LinkedAccountsTest, TwoUnlinksAtOnceLeaveOneLogin) {
    signIn();
    service.unlinkScript.hold();
    const auto first = start(linked->unlink(AuthProvider::google));
    const auto second = start(linked->unlink(AuthProvider::github));
    service.unlinkScript.release(0, userLinkedWith({AuthProvider::github}));
    test::drainEvents();
    EXPECT_TRUE(first->value && second->value);
    EXPECT_EQ(sentUnlinks(), std::vector{AuthProvider::google});
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(status.state(), signedInAs(userLinkedWith({AuthProvider::github})));
}

TEST_F(LinkedAccountsTest, ASecondPressOfTheSameButtonSendsNothing) {
    linkAll();
    service.unlinkScript.hold();
    start(linked->unlink(AuthProvider::google));
    const auto second = start(linked->unlink(AuthProvider::google));
    service.unlinkScript.release(0, userLinkedWith({AuthProvider::github, AuthProvider::facebook}));
    test::drainEvents();
    EXPECT_TRUE(second->value);
    EXPECT_EQ(sentUnlinks().size(), 1U);
}

TEST_F(LinkedAccountsTest, AnUnlinkThatFailsLeavesTheOtherItsTurn) {
    linkAll();
    service.unlinkScript.hold();
    start(linked->unlink(AuthProvider::google));
    start(linked->unlink(AuthProvider::facebook));
    service.unlinkScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_EQ(status.errorMessage(), textOf(Case::unavailable));
    const UserSummary left = userLinkedWith({AuthProvider::github, AuthProvider::google});
    service.unlinkScript.release(1, left);
    test::drainEvents();
    EXPECT_EQ(status.state(), signedInAs(left));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

} // namespace lumivane
