#include "accounts/AccountDeletion.h"

#include "accounts/AccountPartsFixture.h"

namespace lumivane {

using namespace std::chrono_literals;

namespace {

const QString retryText = u"Your identity is confirmed, but deletion could not finish. "
                          "Retry before the confirmation expires."_qs;
const QString failedText =
    u"Lumivane could not finish secure account deletion. Please try again."_qs;

} // namespace

/// Deletion by itself, from the moment at which the proof is there.
class AccountDeletionTest : public test::AccountPartsFixture {
protected:
    AccountDeletionTest() {
        keeper.onForgetting = [this] {
            if (deletion) {
                deletion->forget();
            }
        };
        keeper.onSessionCleared = [this] { ++clearedCount; };
        signIn();
    }

    DeleteReauthentication proof(const char* text = "proof-1",
                                 std::chrono::seconds lifetime = 300s) const {
        return {SecretText(text), clock.wallNow().addSecs(lifetime.count())};
    }

    std::shared_ptr<test::Outcome<bool>> finish(const DeleteReauthentication& proof) {
        return start(deletion->finish(proof, keeper.generation(), std::stop_token()));
    }

    /// The deletion has failed once, and its proof lives for five minutes.
    void failOnce() {
        service.deleteScript.failWith(AuthenticationError(Case::unavailable));
        EXPECT_TRUE(finish(proof())->value);
        service.deleteScript.answerWith(true);
        journal.clear();
        service.requests.clear();
    }

    QList<QByteArray> sentProofs() const {
        QList<QByteArray> proofs;
        for (const auto& request : service.requestsTo(u"deleteAccount"_qs)) {
            proofs.append(request.reauthProof);
        }
        return proofs;
    }

    void expectGone() {
        EXPECT_EQ(status.state(), AuthenticationState::signedOut());
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        EXPECT_FALSE(status.deletionRetryAvailable());
        EXPECT_FALSE(keeper.credentials());
        EXPECT_FALSE(store.stored);
        EXPECT_EQ(clearedCount, 1);
    }

    void expectRetryOffered() {
        EXPECT_EQ(status.state(), signedInAs(service.user));
        EXPECT_EQ(status.errorMessage(), retryText);
        EXPECT_TRUE(status.deletionRetryAvailable());
        EXPECT_EQ(clearedCount, 0);
    }

    int clearedCount = 0;
    std::unique_ptr<AccountDeletion> deletion =
        std::make_unique<AccountDeletion>(ports, status, keeper, authorization);
};

TEST_F(AccountDeletionTest, AProofDeletesTheAccountAndEndsTheSession) {
    status.setErrorMessage(u"Trouble"_qs);
    EXPECT_TRUE(finish(proof())->value);
    expectGone();
    EXPECT_EQ(journal.entries(),
              QStringList({u"deleteAccount"_qs, u"cancelWeb"_qs, u"clear"_qs, u"removed"_qs}));
    EXPECT_EQ(service.requests.front().token, "access-0");
    EXPECT_EQ(service.requests.front().reauthProof, "proof-1");
    EXPECT_EQ(store.clearPrompts, std::vector{UnlockPrompt::allowed});
}

TEST_F(AccountDeletionTest, ARetryIsOfferedWhileTheRequestRuns) {
    service.deleteScript.hold();
    const auto outcome = finish(proof());
    EXPECT_TRUE(status.deletionRetryAvailable());
    EXPECT_EQ(status.state(), signedInAs(service.user));
    service.deleteScript.release(0, true);
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    expectGone();
}

TEST_F(AccountDeletionTest, AFailureBehindAGoodProofOffersTheRetry) {
    service.deleteScript.failWith(AuthenticationError(Case::unavailable));
    EXPECT_TRUE(finish(proof())->value);
    expectRetryOffered();
}

TEST_F(AccountDeletionTest, TheServicesOwnWordsAreNotShown) {
    for (const Case errorCase : {Case::expiredSession, Case::invalidResponse,
                                 Case::reauthenticationFailed, Case::deviceEvicted}) {
        service.deleteScript.failWith(AuthenticationError(errorCase));
        finish(proof());
        expectRetryOffered();
    }
}

TEST_F(AccountDeletionTest, AFailureBehindAProofThatRanOutMeanwhileOffersNoMoreWords) {
    service.deleteScript.hold();
    finish(proof("proof-1", 60s));
    clock.advance(60s);
    service.deleteScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_EQ(status.errorMessage(), failedText);
    EXPECT_EQ(status.state(), signedInAs(service.user));
}

TEST_F(AccountDeletionTest, AProofThatEndsInASecondIsStillAlive) {
    service.deleteScript.hold();
    finish(proof("proof-1", 60s));
    clock.advance(59s);
    service.deleteScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_EQ(status.errorMessage(), retryText);
}

TEST_F(AccountDeletionTest, ATokenThatIsRunningOutIsRefreshedBeforeTheRequest) {
    letTheTokenAge();
    EXPECT_TRUE(finish(proof())->value);
    EXPECT_EQ(service.requestsTo(u"deleteAccount"_qs).front().token, "access-1");
    EXPECT_EQ(store.savePrompts.front(), UnlockPrompt::allowed);
    expectGone();
}

TEST_F(AccountDeletionTest, AnOutageOfTheRefreshOffersTheRetry) {
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::unavailable);
    EXPECT_TRUE(finish(proof())->value);
    expectRetryOffered();
    EXPECT_TRUE(sentProofs().isEmpty());
}

TEST_F(AccountDeletionTest, ARefusedRefreshEndsTheSessionWithAWord) {
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::expiredSession);
    EXPECT_TRUE(finish(proof())->value);
    EXPECT_EQ(status.state(), AuthenticationState::failed(failedText));
    EXPECT_EQ(status.errorMessage(), failedText);
    EXPECT_FALSE(status.deletionRetryAvailable());
    EXPECT_TRUE(sentProofs().isEmpty());
}

TEST_F(AccountDeletionTest, ARefusedRefreshDoesNotSpeakIntoTheNextLogin) {
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::expiredSession);
    store.clearGate.hold();
    const auto outcome = finish(proof());
    ASSERT_EQ(status.state(), AuthenticationState::signedOut());
    status.setState(AuthenticationState::authorizing(AuthProvider::github));
    store.clearGate.release(0, true);
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), AuthenticationState::authorizing(AuthProvider::github));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(AccountDeletionTest, SignOutWhileTheTokenIsFetchedSendsNothing) {
    letTheTokenAge();
    service.refreshAnswer.hold();
    const auto outcome = finish(proof());
    signOut();
    service.refreshAnswer.cancelPending();
    test::drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_TRUE(sentProofs().isEmpty());
    expectGone();
}

TEST_F(AccountDeletionTest, SignOutWhileTheRequestRunsDropsItsAnswer) {
    for (const bool succeeds : {true, false}) {
        service.deleteScript = test::ScriptedCall<bool>(true);
        service.deleteScript.hold();
        const auto outcome = finish(proof());
        signOut();
        signIn();
        status.setErrorMessage(u"Kept"_qs);
        const int cleared = clearedCount;
        if (succeeds) {
            service.deleteScript.release(0, true);
        } else {
            service.deleteScript.fail(0, AuthenticationError(Case::expiredSession));
        }
        test::drainEvents();
        EXPECT_TRUE(outcome->isCancelled);
        EXPECT_EQ(status.state(), signedInAs(service.user));
        EXPECT_EQ(status.errorMessage(), u"Kept"_qs);
        EXPECT_FALSE(status.deletionRetryAvailable());
        EXPECT_EQ(clearedCount, cleared);
    }
}

TEST_F(AccountDeletionTest, AKeyringThatRefusesIsAFailureThoughTheAccountIsGone) {
    store.clearGate.failWith(AuthenticationError(Case::unavailable));
    EXPECT_TRUE(finish(proof())->value);
    EXPECT_EQ(status.state(), AuthenticationState::failed(failedText));
    EXPECT_EQ(status.errorMessage(), failedText);
    EXPECT_FALSE(status.deletionRetryAvailable());
    EXPECT_FALSE(keeper.credentials());
    EXPECT_EQ(clearedCount, 1);
}

TEST_F(AccountDeletionTest, AKeyringThatRefusesLateDoesNotTouchTheNextLogin) {
    store.clearGate.hold();
    const auto outcome = finish(proof());
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    status.setState(AuthenticationState::authorizing(AuthProvider::github));
    store.clearGate.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_EQ(status.state(), AuthenticationState::authorizing(AuthProvider::github));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(AccountDeletionTest, ARetryWithoutAProofOnlyClearsTheOffer) {
    status.setDeletionRetryAvailable(true);
    status.setErrorMessage(u"Kept"_qs);
    run(deletion->retry());
    EXPECT_FALSE(status.deletionRetryAvailable());
    EXPECT_EQ(status.errorMessage(), u"Kept"_qs);
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AccountDeletionTest, ARetryBehindTheEndOfTheProofOnlyClearsTheOffer) {
    failOnce();
    clock.advance(300s); // it ends exactly now
    run(deletion->retry());
    EXPECT_FALSE(status.deletionRetryAvailable());
    EXPECT_EQ(status.errorMessage(), retryText);
    EXPECT_EQ(status.state(), signedInAs(service.user));
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(AccountDeletionTest, ARetryInTimeSendsTheSameProofAgain) {
    failOnce();
    clock.advance(299s);
    run(deletion->retry());
    EXPECT_EQ(sentProofs(), QList<QByteArray>{"proof-1"});
    EXPECT_EQ(service.requests.front().token, "access-0");
    expectGone();
}

TEST_F(AccountDeletionTest, ARetryThatFailsOffersAnother) {
    failOnce();
    status.setErrorMessage(std::nullopt);
    service.deleteScript.failWith(AuthenticationError(Case::unavailable));
    run(deletion->retry());
    expectRetryOffered();
    service.deleteScript.answerWith(true);
    run(deletion->retry());
    expectGone();
}

TEST_F(AccountDeletionTest, ARetryThatFailsBehindTheEndOfTheProofChangesNothing) {
    failOnce();
    status.setErrorMessage(u"Kept"_qs);
    service.deleteScript.hold();
    const auto outcome = start(deletion->retry());
    clock.advance(300s);
    service.deleteScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.errorMessage(), u"Kept"_qs);
    EXPECT_EQ(status.state(), signedInAs(service.user));
}

TEST_F(AccountDeletionTest, ARetryRefreshesATokenThatIsRunningOut) {
    service.deleteScript.failWith(AuthenticationError(Case::unavailable));
    finish(proof("proof-1", 3600s));
    service.deleteScript.answerWith(true);
    service.requests.clear();
    letTheTokenAge();
    run(deletion->retry());
    EXPECT_EQ(service.requestsTo(u"deleteAccount"_qs).front().token, "access-1");
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
}

TEST_F(AccountDeletionTest, ARetryWhoseTokenIsRefusedEndsTheSessionQuietly) {
    service.deleteScript.failWith(AuthenticationError(Case::unavailable));
    finish(proof("proof-1", 3600s));
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::expiredSession);
    service.requests.clear();
    run(deletion->retry());
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_FALSE(status.deletionRetryAvailable());
    EXPECT_TRUE(sentProofs().isEmpty());
}

TEST_F(AccountDeletionTest, SignOutDuringARetryDropsItsAnswer) {
    failOnce();
    service.deleteScript.hold();
    const auto outcome = start(deletion->retry());
    signOut();
    signIn();
    service.deleteScript.release(0, true);
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), signedInAs(service.user));
    EXPECT_TRUE(keeper.credentials());
}

TEST_F(AccountDeletionTest, TheEndOfTheSessionDropsTheProof) {
    failOnce();
    signOut();
    EXPECT_FALSE(status.deletionRetryAvailable());
    signIn();
    run(deletion->retry());
    EXPECT_TRUE(sentProofs().isEmpty());
}

// Two at once: a second press of the button finds the first at work and leaves it alone, and of two
// proofs the newer one counts. Whichever ends the session first takes the other with it.

TEST_F(AccountDeletionTest, ASecondRetryWaitsForNothingAndSendsNothing) {
    failOnce();
    service.deleteScript.hold();
    const auto first = start(deletion->retry());
    const auto second = start(deletion->retry());
    EXPECT_TRUE(second->value);
    EXPECT_EQ(sentProofs().size(), 1);
    service.deleteScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_TRUE(first->value);
    expectRetryOffered();
    start(deletion->retry());
    EXPECT_EQ(sentProofs().size(), 2);
    service.deleteScript.release(1, true);
    test::drainEvents();
    expectGone();
}

TEST_F(AccountDeletionTest, ARetryWhileTheFirstDeletionRunsSendsNothing) {
    service.deleteScript.hold();
    finish(proof());
    run(deletion->retry());
    EXPECT_EQ(sentProofs().size(), 1);
    service.deleteScript.release(0, true);
    test::drainEvents();
    expectGone();
}

TEST_F(AccountDeletionTest, ADeletionOfAnEndedSessionDoesNotHoldUpTheNext) {
    service.deleteScript.hold();
    finish(proof());
    signOut();
    signIn();
    service.deleteScript.letGo();
    service.deleteScript.failWith(AuthenticationError(Case::unavailable));
    finish(proof("proof-2"));
    service.deleteScript.answerWith(true);
    run(deletion->retry());
    EXPECT_EQ(sentProofs(), QList<QByteArray>({"proof-2", "proof-2"}));
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    service.deleteScript.cancelPending();
}

TEST_F(AccountDeletionTest, OfTwoProofsTheNewerOneIsKept) {
    service.deleteScript.hold();
    finish(proof("proof-1"));
    finish(proof("proof-2"));
    service.deleteScript.fail(0, AuthenticationError(Case::unavailable));
    service.deleteScript.fail(1, AuthenticationError(Case::unavailable));
    test::drainEvents();
    expectRetryOffered();
    service.deleteScript.letGo();
    run(deletion->retry());
    EXPECT_EQ(sentProofs(), QList<QByteArray>({"proof-1", "proof-2", "proof-2"}));
    expectGone();
}

TEST_F(AccountDeletionTest, OfTwoDeletionsTheFirstThatSucceedsEndsBoth) {
    service.deleteScript.hold();
    const auto first = finish(proof("proof-1"));
    const auto second = finish(proof("proof-2"));
    service.deleteScript.release(1, true);
    test::drainEvents();
    expectGone();
    service.deleteScript.fail(0, AuthenticationError(Case::expiredSession));
    test::drainEvents();
    EXPECT_TRUE(first->isCancelled);
    EXPECT_TRUE(second->value);
    expectGone();
}

TEST_F(AccountDeletionTest, NothingIsTouchedOnceItHasGone) {
    service.deleteScript.hold();
    const auto outcome = finish(proof());
    deletion.reset();
    service.deleteScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_TRUE(outcome->hasEnded());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(status.state(), signedInAs(service.user));
}

} // namespace lumivane
