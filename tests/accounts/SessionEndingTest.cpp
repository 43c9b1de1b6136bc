#include "accounts/AuthenticationFixture.h"
#include "async/MainThread.h"

namespace lumivane {

using test::drainEvents;
using test::flagged;
using test::watch;

namespace {

const QString notSignedOut = u"Lumivane cleared private app state, but could not remove the saved "
                             u"Keychain session. Check Keychain access."_qs;
const QString notConfirmed =
    u"Signed out on this Mac. Server revocation could not be confirmed; it "
    u"will expire automatically."_qs;
const QString notRemoved =
    u"Your session was revoked, but Lumivane could not remove it from Keychain."_qs;

} // namespace

class SessionEndingTest : public test::AuthenticationFixture {
protected:
    void SetUp() override { signIn(); }

    std::shared_ptr<test::Outcome<bool>> signOut() {
        auto outcome = watch(flagged(keeper.signOut()));
        drainEvents();
        return outcome;
    }

    bool isForgotten() const {
        return !keeper.credentials() && !keeper.storedSession() && isIn(StateCase::signedOut);
    }

    void failClearing() { store.clearGate.failWith(AuthenticationError(ErrorCase::unavailable)); }
};

TEST_F(SessionEndingTest, ClearingDoesEverythingInItsOrder) {
    const auto outcome = watch(flagged(keeper.clearLocalSession(UnlockPrompt::allowed)));
    EXPECT_EQ(journal.entries(), (QStringList{u"cancelWeb"_qs, u"clear"_qs, u"forgetting"_qs,
                                              u"signedOut"_qs, u"cleared"_qs}));
    EXPECT_TRUE(isForgotten());
    EXPECT_EQ(keeper.generation(), 1U);
    EXPECT_FALSE(outcome->hasEnded());
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_FALSE(store.stored);
    EXPECT_EQ(store.clearPrompts, std::vector{UnlockPrompt::allowed});
    EXPECT_EQ(journal.count(u"cleared"_qs), 1);
}

TEST_F(SessionEndingTest, NothingIsHeldAnyMoreWhenTheOthersForget) {
    bool wasHeld = true;
    bool wasSignedOut = true;
    keeper.onForgetting = [&] {
        wasHeld = keeper.credentials() || keeper.storedSession();
        wasSignedOut = isIn(StateCase::signedOut);
    };
    watch(flagged(keeper.clearLocalSession(UnlockPrompt::never)));
    EXPECT_FALSE(wasHeld);
    EXPECT_FALSE(wasSignedOut);
    drainEvents();
}

TEST_F(SessionEndingTest, AKeyringThatRefusesLeavesMemoryClearedAndAllTold) {
    failClearing();
    const auto outcome = watch(flagged(keeper.clearLocalSession(UnlockPrompt::never)));
    drainEvents();
    EXPECT_EQ(outcome->errorAs<AuthenticationError>(), AuthenticationError(ErrorCase::unavailable));
    EXPECT_TRUE(isForgotten());
    EXPECT_EQ(journal.count(u"cleared"_qs), 1);
}

TEST_F(SessionEndingTest, ClearingNeedsNobodyToListen) {
    keeper.onForgetting = nullptr;
    keeper.onSessionCleared = nullptr;
    const auto outcome = watch(flagged(keeper.clearLocalSession(UnlockPrompt::never)));
    drainEvents();
    EXPECT_TRUE(outcome->value);
}

TEST_F(SessionEndingTest, SignedInToSigningOutToSignedOut) {
    status.setErrorMessage(u"old trouble"_qs);
    EXPECT_TRUE(signOut()->value);
    EXPECT_EQ(journal.entries(), (QStringList{u"cancelWeb"_qs, u"signingOut"_qs, u"revoke"_qs,
                                              u"cancelWeb"_qs, u"clear"_qs, u"forgetting"_qs,
                                              u"signedOut"_qs, u"cleared"_qs, u"removed"_qs}));
    EXPECT_TRUE(isForgotten());
    EXPECT_EQ(keeper.generation(), 2U);
    EXPECT_EQ(service.requests[0].token, "refresh-0");
    EXPECT_EQ(store.clearPrompts, std::vector{UnlockPrompt::allowed});
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(SessionEndingTest, TheStoredTokenIsTheOneToRevoke) {
    AuthCredentials other = service.login(7);
    keeper.seed(other);
    signOut();
    EXPECT_EQ(service.requests[0].token, "refresh-0");
}

TEST_F(SessionEndingTest, WithoutStoredSessionTheCredentialsAreRevoked) {
    SessionKeeper unstored(ports, status);
    unstored.seed(service.login(3));
    watch(flagged(unstored.signOut()));
    drainEvents();
    ASSERT_EQ(service.requests.size(), 1U);
    EXPECT_EQ(service.requests[0].operation, u"revoke");
    EXPECT_EQ(service.requests[0].token, "refresh-3");
}

TEST_F(SessionEndingTest, WithoutAnySessionNothingIsSent) {
    signOut();
    clearRecords();
    status.setErrorMessage(u"old trouble"_qs);
    EXPECT_TRUE(signOut()->value);
    EXPECT_TRUE(service.requests.empty());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(journal.count(u"clear"_qs), 1);
}

TEST_F(SessionEndingTest, AnUnconfirmedRevocationSaysSo) {
    service.revokeScript.failWith(AuthenticationError(ErrorCase::unavailable));
    signOut();
    EXPECT_TRUE(isForgotten());
    EXPECT_FALSE(store.stored);
    EXPECT_EQ(status.errorMessage(), notConfirmed);
}

TEST_F(SessionEndingTest, TheUserIsOutAtOnceWhileTheServiceKeepsSilent) {
    service.revokeScript.hold();
    const auto outcome = signOut();
    EXPECT_TRUE(isForgotten());
    EXPECT_FALSE(store.stored);
    EXPECT_FALSE(outcome->hasEnded());
    service.revokeScript.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.errorMessage(), notConfirmed);
}

TEST_F(SessionEndingTest, AKeyringThatRefusesTheSignOutIsToldOver) {
    failClearing();
    service.revokeScript.failWith(AuthenticationError(ErrorCase::unavailable));
    signOut();
    EXPECT_EQ(status.state(), AuthenticationState::failed(notSignedOut));
    EXPECT_EQ(status.errorMessage(), notSignedOut);
    EXPECT_FALSE(keeper.credentials());
    EXPECT_EQ(journal.count(u"cleared"_qs), 1);
}

TEST_F(SessionEndingTest, ALoginBegunBeforeTheKeyringRefusedKeepsItsPageAndTheWordIsSaid) {
    store.clearGate.hold();
    signOut();
    status.setState(AuthenticationState::authorizing(AuthProvider::google));
    store.clearGate.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::authorizing));
    EXPECT_EQ(status.errorMessage(), notSignedOut);
}

TEST_F(SessionEndingTest, ALoginBegunBeforeTheRevocationFailedIsToldOfIt) {
    service.revokeScript.hold();
    signOut();
    status.setState(AuthenticationState::authorizing(AuthProvider::google));
    service.revokeScript.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::authorizing));
    EXPECT_EQ(status.errorMessage(), notConfirmed);
}

TEST_F(SessionEndingTest, AKeyringThatRefusesLateDoesNotSpeakIntoTheNextSession) {
    store.clearGate.hold();
    signOut();
    keeper.seed(service.login(3));
    store.clearGate.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::signedIn));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(SessionEndingTest, ALateRevocationDoesNotSpeakIntoTheNextLogin) {
    service.revokeScript.hold();
    signOut();
    watch(flagged(keeper.adopt(service.login(0), keeper.generation(), {})));
    drainEvents();
    ASSERT_TRUE(isIn(StateCase::signedIn));
    service.revokeScript.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_TRUE(store.stored);
}

TEST_F(SessionEndingTest, SigningOutDuringThePreWriteSendsNothing) {
    signInBriefly();
    store.saveGate.hold();
    store.saveGate.ignoreStops();
    const auto token = askToken();
    signOut();
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(service.requestsTo(u"refresh"_qs).empty());
    EXPECT_FALSE(store.stored);
    EXPECT_TRUE(isForgotten());
}

TEST_F(SessionEndingTest, SigningOutWhenThePreWriteIsDoneButNotHeardOfSendsNothing) {
    signInBriefly();
    store.onSaved = [this] { postToMainThread([this] { watch(flagged(keeper.signOut())); }); };
    const auto token = askToken();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(service.requestsTo(u"refresh"_qs).empty());
    EXPECT_FALSE(store.stored);
    EXPECT_TRUE(isForgotten());
}

TEST_F(SessionEndingTest, SigningOutBeforeThePreWriteHasItsTurnWritesNothing) {
    signInBriefly();
    const auto token =
        watch(keeper.validAccessToken(std::chrono::seconds(60), UnlockPrompt::never, {}));
    signOut();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_FALSE(journal.holds(u"saved"_qs));
    EXPECT_TRUE(isForgotten());
}

TEST_F(SessionEndingTest, SigningOutDuringTheRequestIgnoresTheLateAnswer) {
    signInBriefly();
    service.refreshAnswer.hold();
    service.refreshAnswer.ignoreStops();
    const auto owner = askToken();
    const auto joiner = askToken();
    signOut();
    EXPECT_TRUE(owner->isCancelled);
    EXPECT_TRUE(joiner->isCancelled);
    EXPECT_TRUE(service.requestsTo(u"refresh"_qs)[0].stop.stop_requested());
    service.refreshAnswer.release(0, true);
    drainEvents();
    EXPECT_TRUE(isForgotten());
    EXPECT_EQ(store.saves.size(), 1U);
    EXPECT_FALSE(store.stored);
}

TEST_F(SessionEndingTest, SigningOutWhenTheAnswerIsThereButNotTakenOverIgnoresIt) {
    signInBriefly();
    service.refreshAnswer.hold();
    const auto token = askToken();
    service.refreshAnswer.release(0, true); // resumes in a later turn only
    watch(flagged(keeper.signOut()));
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(isForgotten());
    EXPECT_FALSE(store.stored);
}

TEST_F(SessionEndingTest, SigningOutDuringTheLastWriteRemovesWhatItWrote) {
    signInBriefly();
    service.refreshAnswer.hold();
    const auto token = askToken();
    store.saveGate.hold();
    service.refreshAnswer.release(0, true);
    drainEvents();
    ASSERT_EQ(store.saveGate.pendingCount(), 1U);
    signOut();
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(isForgotten());
    EXPECT_FALSE(store.stored);
}

TEST_F(SessionEndingTest, ALastWriteThatFailsAfterTheSignOutSaysNothing) {
    signInBriefly();
    service.refreshAnswer.hold();
    const auto token = askToken();
    store.saveGate.hold();
    service.refreshAnswer.release(0, true);
    drainEvents();
    signOut();
    store.saveGate.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(isForgotten());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(SessionEndingTest, AnUnauthorizedSessionGoes) {
    const auto outcome = watch(keeper.handleUnauthorized());
    drainEvents();
    EXPECT_EQ(outcome->value, true);
    EXPECT_TRUE(isForgotten());
    EXPECT_TRUE(service.requests.empty());
    EXPECT_FALSE(store.stored);
    EXPECT_EQ(store.clearPrompts, std::vector{UnlockPrompt::never});
    EXPECT_EQ(journal.count(u"cleared"_qs), 1);
}

TEST_F(SessionEndingTest, AnUnauthorizedSessionThatCannotBeRemovedIsToldOver) {
    failClearing();
    const auto outcome = watch(keeper.handleUnauthorized());
    drainEvents();
    EXPECT_EQ(outcome->value, false);
    EXPECT_EQ(status.state(), AuthenticationState::failed(notRemoved));
    EXPECT_EQ(status.errorMessage(), notRemoved);
}

TEST_F(SessionEndingTest, AnEvictionSaysWhereTheAccountIs) {
    const auto outcome = watch(flagged(keeper.signOutLocallyAfterEviction()));
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(isForgotten());
    EXPECT_TRUE(service.requests.empty());
    EXPECT_FALSE(store.stored);
    EXPECT_EQ(status.errorMessage(),
              u"You signed in on another Mac. Lumivane is signed in there now."_qs);
}

TEST_F(SessionEndingTest, AnEvictionIgnoresAKeyringThatRefuses) {
    failClearing();
    const auto outcome = watch(flagged(keeper.signOutLocallyAfterEviction()));
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(isForgotten());
    EXPECT_EQ(status.errorMessage(),
              u"You signed in on another Mac. Lumivane is signed in there now."_qs);
}

TEST_F(SessionEndingTest, AnEvictionEndsARefresh) {
    signInBriefly();
    service.refreshAnswer.hold();
    const auto token = askToken();
    watch(flagged(keeper.signOutLocallyAfterEviction()));
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(isForgotten());
}

TEST_F(SessionEndingTest, TwoEndingsAtOnceClearTwiceAndEndTheSame) {
    const auto first = watch(keeper.handleUnauthorized());
    const auto second = watch(flagged(keeper.signOut()));
    drainEvents();
    EXPECT_EQ(first->value, true);
    EXPECT_TRUE(second->value);
    EXPECT_TRUE(isForgotten());
    EXPECT_EQ(journal.count(u"cleared"_qs), 2);
}

TEST_F(SessionEndingTest, AKeeperThatGoesDuringTheSignOutTouchesNothing) {
    auto shortLived = std::make_unique<SessionKeeper>(ports, status);
    shortLived->seed(service.login(0));
    service.revokeScript.hold();
    failClearing();
    const auto outcome = watch(flagged(shortLived->signOut()));
    shortLived.reset();
    service.revokeScript.release(0, true);
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

} // namespace lumivane
