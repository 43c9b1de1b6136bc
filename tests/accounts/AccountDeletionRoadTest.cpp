#include "accounts/AccountDeletion.h"
#include "accounts/AccountPartsFixture.h"

namespace lumivane {

using namespace std::chrono_literals;

/// Deletion from the button to the end: the web login that proves who the user is, and what it
/// proves.
class AccountDeletionRoadTest : public test::AccountPartsFixture {
protected:
    AccountDeletionRoadTest() {
        authorization.onDeleteProof = [this](DeleteReauthentication proof, std::uint64_t generation,
                                             std::stop_token stop) {
            return deletion.finish(std::move(proof), generation, std::move(stop));
        };
        authorization.onDeleteFailure = [this] { deletion.showFailure(); };
        keeper.onForgetting = [this] { deletion.forget(); };
        signIn();
        proveFor(300s);
    }

    void proveFor(std::chrono::seconds lifetime) {
        service.completeScript.answerWith(DeleteReauthentication{
            SecretText("proof-1"), clock.wallNow().addSecs(lifetime.count())});
    }

    void deleteAccount() { run(deletion.deleteAccount(AuthProvider::github)); }

    void expectFailure() {
        EXPECT_EQ(status.errorMessage(), failedText);
        EXPECT_EQ(status.state(), signedInAs(service.user));
        EXPECT_FALSE(status.deletionRetryAvailable());
        EXPECT_TRUE(service.requestsTo(u"deleteAccount"_qs).empty());
    }

    void expectUntouched() {
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        EXPECT_EQ(status.state(), signedInAs(service.user));
        EXPECT_TRUE(service.requestsTo(u"deleteAccount"_qs).empty());
    }

    const QString failedText =
        u"Lumivane could not finish secure account deletion. Please try again."_qs;
    AccountDeletion deletion{ports, status, keeper, authorization};
};

TEST_F(AccountDeletionRoadTest, AProofFromALinkedProviderDeletesTheAccount) {
    deleteAccount();
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_FALSE(store.stored);
    const auto transaction = service.requestsTo(u"createTransaction"_qs).at(0);
    EXPECT_EQ(transaction.provider, AuthProvider::github);
    EXPECT_EQ(transaction.intent, AuthIntent::deleteReauth);
    EXPECT_EQ(transaction.token, "access-0");
    EXPECT_EQ(service.requestsTo(u"complete"_qs).at(0).intent, AuthIntent::deleteReauth);
    const auto request = service.requestsTo(u"deleteAccount"_qs).at(0);
    EXPECT_EQ(request.token, "access-0");
    EXPECT_EQ(request.reauthProof, "proof-1");
}

TEST_F(AccountDeletionRoadTest, AProviderThatIsNotLinkedDoesNothing) {
    status.setProviderAvailability(
        ProviderAvailability::available({AuthProvider::github, AuthProvider::facebook}));
    run(deletion.deleteAccount(AuthProvider::facebook));
    EXPECT_TRUE(journal.entries().isEmpty());
    expectUntouched();
}

TEST_F(AccountDeletionRoadTest, AProviderThatIsNotOfferedDoesNothing) {
    for (const auto& availability :
         {ProviderAvailability::available({AuthProvider::google}), ProviderAvailability::loading(),
          ProviderAvailability::unavailable()}) {
        status.setProviderAvailability(availability);
        deleteAccount();
        EXPECT_TRUE(journal.entries().isEmpty());
    }
    expectUntouched();
}

TEST_F(AccountDeletionRoadTest, WithoutASessionThereIsNothingToDelete) {
    signOut();
    journal.clear();
    deleteAccount();
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
}

TEST_F(AccountDeletionRoadTest, GivingUpSaysNothing) {
    web.callback.failWith(AuthenticationError(Case::cancelled));
    deleteAccount();
    expectUntouched();
    web.callback.answerWith(
        test::FakeWebAuthenticator::errorCallback(u"transaction-1"_qs, u"access_denied"_qs));
    deleteAccount();
    expectUntouched();
}

TEST_F(AccountDeletionRoadTest, AnyOtherFailureOfTheWebLoginIsOneText) {
    service.transactionScript.failWith(AuthenticationError(Case::unavailable));
    deleteAccount();
    expectFailure();
    service.transactionScript.answerWith({u"transaction-1"_qs, QUrl(), QDateTime()});
    for (const Case errorCase :
         {Case::reauthenticationFailed, Case::unavailable, Case::invalidResponse}) {
        status.setErrorMessage(std::nullopt);
        service.completeScript.failWith(AuthenticationError(errorCase));
        deleteAccount();
        expectFailure();
    }
    status.setErrorMessage(std::nullopt);
    web.callback.answerWith(u"com.marnoth.lumivane.oauth://callback?handoff_code=1"_qs);
    deleteAccount();
    expectFailure();
}

TEST_F(AccountDeletionRoadTest, AProofThatEndsNowIsRefused) {
    for (const auto lifetime : {0s, -1s}) {
        status.setErrorMessage(std::nullopt);
        proveFor(lifetime);
        deleteAccount();
        expectFailure();
    }
}

TEST_F(AccountDeletionRoadTest, ALoginInPlaceOfAProofIsRefused) {
    service.completeScript.answerWith(service.login(7));
    deleteAccount();
    expectFailure();
    EXPECT_EQ(keeper.credentials()->accessToken, service.login(0).accessToken);
}

TEST_F(AccountDeletionRoadTest, AFailureBehindTheProofOffersTheRetryWhichThenDeletes) {
    service.deleteScript.failWith(AuthenticationError(Case::unavailable));
    deleteAccount();
    EXPECT_TRUE(status.deletionRetryAvailable());
    EXPECT_EQ(status.state(), signedInAs(service.user));
    EXPECT_EQ(status.errorMessage(), u"Your identity is confirmed, but deletion could not finish. "
                                     "Retry before the confirmation expires."_qs);
    service.deleteScript.answerWith(true);
    run(deletion.retry());
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_EQ(web.pages.size(), 1U);
}

TEST_F(AccountDeletionRoadTest, AnotherLoginThatFailsWhileAProofLivesStillOffersTheRetry) {
    service.deleteScript.failWith(AuthenticationError(Case::unavailable));
    deleteAccount();
    const auto text = status.errorMessage();
    status.setErrorMessage(std::nullopt);
    service.completeScript.failWith(AuthenticationError(Case::reauthenticationFailed));
    deleteAccount();
    EXPECT_EQ(status.errorMessage(), text);
    EXPECT_TRUE(status.deletionRetryAvailable());
}

TEST_F(AccountDeletionRoadTest, SignOutInFrontOfTheLoginPageDeletesNothing) {
    web.callback.hold();
    const auto outcome = start(deletion.deleteAccount(AuthProvider::github));
    EXPECT_EQ(status.state(), AuthenticationState::authorizing(AuthProvider::github));
    signOut();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_TRUE(service.requestsTo(u"complete"_qs).empty());
}

TEST_F(AccountDeletionRoadTest, SignOutWhileTheProofIsFetchedDeletesNothing) {
    service.completeScript.hold();
    service.completeScript.ignoreStops();
    const auto outcome = start(deletion.deleteAccount(AuthProvider::github));
    signOut();
    service.completeScript.release(
        0, DeleteReauthentication{SecretText("proof-1"), clock.wallNow().addSecs(300)});
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(service.requestsTo(u"deleteAccount"_qs).empty());
    EXPECT_FALSE(status.deletionRetryAvailable());
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
}

TEST_F(AccountDeletionRoadTest, SignOutWhileTheAccountIsDeletedDropsTheAnswer) {
    service.deleteScript.hold();
    service.deleteScript.ignoreStops();
    const auto outcome = start(deletion.deleteAccount(AuthProvider::github));
    signOut();
    service.deleteScript.fail(0, AuthenticationError(Case::expiredSession));
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(AccountDeletionRoadTest, OfTwoDeletionsTheLaterLoginIsTheOneThatCounts) {
    web.callback.hold();
    const auto first = start(deletion.deleteAccount(AuthProvider::github));
    web.callback.letGo();
    const auto second = start(deletion.deleteAccount(AuthProvider::google));
    EXPECT_TRUE(first->value && second->value);
    EXPECT_EQ(service.requestsTo(u"deleteAccount"_qs).size(), 1U);
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

} // namespace lumivane
