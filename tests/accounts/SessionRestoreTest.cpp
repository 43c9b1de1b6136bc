#include "accounts/AuthenticationFixture.h"
#include "domain/StrictJson.h"

namespace lumivane {

using test::drainEvents;
using test::flagged;
using test::watch;
using namespace std::chrono_literals;

namespace {

const QString notRestored =
    u"Lumivane could not restore your session. Try again when the service is available."_qs;
const QString notRemoved = u"Lumivane could not remove the expired session from Keychain."_qs;

} // namespace

class SessionRestoreTest : public test::AuthenticationFixture {
protected:
    SessionRestoreTest()
        : AuthenticationFixture(AuthenticationState::restoring()) {}

    void restore() {
        watch(flagged(keeper.restore()));
        drainEvents();
    }

    void retry() {
        watch(flagged(keeper.retryRestore()));
        drainEvents();
    }

    /// An outage at the start, over by now.
    void failToRestore() {
        store.stored = service.session();
        service.refreshFailure = AuthenticationError(ErrorCase::unavailable);
        restore();
        service.refreshFailure.reset();
        EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
        clearRecords();
    }
};

TEST_F(SessionRestoreTest, RestoringToSignedOutWithNothingStored) {
    restore();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_EQ(journal.entries(),
              (QStringList{u"load"_qs, u"clear"_qs, u"removed"_qs, u"signedOut"_qs}));
    EXPECT_EQ(store.loadPrompts, std::vector{UnlockPrompt::never});
    EXPECT_EQ(store.clearPrompts, std::vector{UnlockPrompt::never});
    EXPECT_EQ(keeper.generation(), 0U);
}

TEST_F(SessionRestoreTest, RestoringToSignedInWithAToken) {
    store.stored = service.session();
    restore();
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(journal.entries(),
              (QStringList{u"load"_qs, u"refreshing"_qs, u"save"_qs, u"saved"_qs, u"refresh"_qs,
                           u"save"_qs, u"saved"_qs, u"signedIn"_qs}));
    EXPECT_EQ(store.stored, service.session());
    EXPECT_EQ(store.savePrompts, (std::vector{UnlockPrompt::never, UnlockPrompt::never}));
}

TEST_F(SessionRestoreTest, ASecondRestoreDoesNothing) {
    store.stored = service.session();
    restore();
    clearRecords();
    restore();
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(SessionRestoreTest, ASecondRestoreDuringTheFirstDoesNothing) {
    store.stored = service.session();
    store.loadGate.hold();
    restore();
    const auto second = watch(flagged(keeper.restore()));
    EXPECT_TRUE(second->value);
    EXPECT_EQ(journal.entries(), QStringList{u"load"_qs});
    store.loadGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::signedIn));
}

TEST_F(SessionRestoreTest, OnlyARestoringStateIsRestored) {
    store.stored = service.session();
    status.setState(AuthenticationState::signedOut());
    journal.clear();
    restore();
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(SessionRestoreTest, AnExpiryOfNowCountsAsExpired) {
    store.stored = service.session();
    store.stored->refreshExpiresAt = clock.wallNow();
    restore();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_FALSE(store.stored);
    EXPECT_TRUE(service.requests.empty());
    EXPECT_FALSE(keeper.storedSession());
}

TEST_F(SessionRestoreTest, AnExpiryInAMomentDoesNot) {
    store.stored = service.session();
    store.stored->refreshExpiresAt = clock.wallNow().addMSecs(1);
    restore();
    EXPECT_TRUE(isIn(StateCase::signedIn));
}

TEST_F(SessionRestoreTest, RestoringToFailedWhenNothingUsableCannotBeRemoved) {
    store.clearGate.failWith(AuthenticationError(ErrorCase::unavailable));
    restore();
    EXPECT_EQ(status.state(), AuthenticationState::failed(notRemoved));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(SessionRestoreTest, RestoringToSignedOutWithARefusedToken) {
    store.stored = service.session();
    service.refreshFailure = AuthenticationError(ErrorCase::expiredSession);
    restore();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_FALSE(store.stored);
    EXPECT_EQ(journal.count(u"cleared"_qs), 1);
    EXPECT_EQ(keeper.generation(), 1U);
}

TEST_F(SessionRestoreTest, RestoringToFailedWhenARefusedTokenCannotBeRemoved) {
    store.stored = service.session();
    service.refreshFailure = AuthenticationError(ErrorCase::expiredSession);
    store.clearGate.failWith(AuthenticationError(ErrorCase::unavailable));
    restore();
    EXPECT_EQ(status.state(), AuthenticationState::failed(notRemoved));
    EXPECT_TRUE(store.stored);
}

TEST_F(SessionRestoreTest, ARefusedTokenThatCannotBeRemovedAtFirstIsRemovedAtLast) {
    store.stored = service.session();
    service.refreshFailure = AuthenticationError(ErrorCase::expiredSession);
    store.clearGate.hold();
    restore();
    store.clearGate.letGo();
    store.clearGate.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_FALSE(store.stored);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(SessionRestoreTest, ALoginBegunWhileARefusedTokenGoesKeepsItsPage) {
    store.stored = service.session();
    service.refreshFailure = AuthenticationError(ErrorCase::expiredSession);
    store.clearGate.hold();
    restore();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    status.setState(AuthenticationState::authorizing(AuthProvider::google));
    const std::uint64_t generation = keeper.generation();
    store.clearGate.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::authorizing));
    EXPECT_EQ(keeper.generation(), generation);
    EXPECT_EQ(status.errorMessage(),
              u"Your session expired, but Lumivane could not remove it from Keychain.");
}

TEST_F(SessionRestoreTest, RestoringToRestoreFailedInAnOutage) {
    for (const auto trouble : {ErrorCase::unavailable, ErrorCase::invalidResponse}) {
        status.setState(AuthenticationState::restoring());
        store.stored = service.session();
        service.refreshFailure = AuthenticationError(trouble);
        restore();
        EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
        EXPECT_TRUE(store.stored);
        EXPECT_TRUE(keeper.storedSession());
        EXPECT_EQ(journal.count(u"clear"_qs), 0);
    }
}

TEST_F(SessionRestoreTest, RestoringToRestoreFailedWithAnUnreadableItemWhichStays) {
    store.stored = service.session();
    store.loadGate.failWith(DecodingError(DecodingError::Reason::malformed));
    restore();
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
    EXPECT_TRUE(store.stored);
    EXPECT_EQ(journal.entries(), (QStringList{u"load"_qs, u"restoreFailed"_qs}));
    EXPECT_EQ(status.errorMessage(), keyringAdvice(KeyringTrouble::damaged));
}

TEST_F(SessionRestoreTest, ARetryReadsADamagedItemAgain) {
    store.loadGate.failWith(DecodingError(DecodingError::Reason::malformed));
    restore();
    clearRecords();
    retry();
    EXPECT_EQ(journal.entries(), (QStringList{u"restoring"_qs, u"load"_qs, u"restoreFailed"_qs}));
    EXPECT_EQ(status.errorMessage(), keyringAdvice(KeyringTrouble::damaged));
    store.loadGate.answerWith(true); // the user has removed the entry
    retry();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(SessionRestoreTest, AKeyringThatIsMissingOrLockedIsNamed) {
    for (const auto trouble : {KeyringTrouble::missing, KeyringTrouble::locked}) {
        status.setState(AuthenticationState::restoring());
        store.stored = service.session();
        store.loadGate.failWith(AuthenticationError(ErrorCase::unavailable, trouble));
        restore();
        EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
        EXPECT_EQ(status.errorMessage(), keyringAdvice(trouble));
    }
    store.loadGate.answerWith(true);
    store.saveGate.failWith(AuthenticationError(ErrorCase::unavailable, KeyringTrouble::locked));
    retry();
    EXPECT_EQ(status.errorMessage(), keyringAdvice(KeyringTrouble::locked));
    store.saveGate.answerWith(true);
    store.saveGate.hold();
    retry();
    EXPECT_EQ(status.errorMessage(), std::nullopt) << "a retry begins without it";
    store.saveGate.letGo();
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(SessionRestoreTest, AnotherFailureOfTheKeyringAddsNoWords) {
    store.loadGate.failWith(AuthenticationError(ErrorCase::unavailable));
    restore();
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(SessionRestoreTest, ARetryKeepsAMessageAboutSomethingElse) {
    store.loadGate.failWith(AuthenticationError(ErrorCase::unavailable));
    restore();
    status.setErrorMessage(u"something else"_qs);
    retry();
    EXPECT_EQ(status.errorMessage(), u"something else"_qs);
}

TEST_F(SessionRestoreTest, AFailedPreWriteAtTheStartOffersARetry) {
    store.stored = service.session();
    store.saveGate.failWith(AuthenticationError(ErrorCase::unavailable));
    restore();
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
    EXPECT_TRUE(service.requests.empty());
    store.saveGate.answerWith(true);
    retry();
    EXPECT_TRUE(isIn(StateCase::signedIn));
}

TEST_F(SessionRestoreTest, WithoutRandomBytesTheStartOffersARetry) {
    store.stored = service.session();
    random.isEmpty = true;
    restore();
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
    EXPECT_TRUE(store.saves.empty());
}

TEST_F(SessionRestoreTest, ACrashBetweenRequestAndAnswerIsRepeatedAtTheNextStart) {
    const QUuid lost = QUuid::createUuid();
    store.stored = service.session();
    store.stored->pendingRefreshOperationID = lost;
    test::outcomeOf(service.refresh(store.stored->refreshToken, lost, {})); // the run that crashed
    clearRecords();
    restore();
    EXPECT_TRUE(isSignedInAs(service.user));
    ASSERT_EQ(service.requests.size(), 1U);
    EXPECT_EQ(service.requests[0].token, "refresh-0");
    EXPECT_EQ(service.requests[0].operationID, lost);
    EXPECT_EQ(store.saves[0].pendingRefreshOperationID, lost);
    EXPECT_EQ(service.exchangeCount(), 1U);
    EXPECT_EQ(random.requestCount, 0);
}

TEST_F(SessionRestoreTest, SigningOutDuringTheLoadWins) {
    store.stored = service.session();
    store.loadGate.hold();
    restore();
    watch(flagged(keeper.signOut()));
    store.loadGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_FALSE(keeper.storedSession());
    EXPECT_FALSE(store.stored);
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(SessionRestoreTest, ALoginDuringTheLoadWins) {
    store.stored = service.session();
    store.loadGate.hold();
    restore();
    status.setState(AuthenticationState::authorizing(AuthProvider::google));
    store.loadGate.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::authorizing));
}

TEST_F(SessionRestoreTest, SigningOutWhileNothingUsableIsRemovedWins) {
    store.clearGate.hold();
    restore();
    watch(flagged(keeper.signOut()));
    store.clearGate.letGo();
    store.clearGate.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::signedOut));
}

TEST_F(SessionRestoreTest, AKeeperThatGoesDuringTheLoadTouchesNothing) {
    store.stored = service.session();
    store.loadGate.hold();
    auto shortLived = std::make_unique<SessionKeeper>(ports, status);
    const auto outcome = watch(flagged(shortLived->restore()));
    drainEvents();
    shortLived.reset();
    store.loadGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(isIn(StateCase::restoring));
}

TEST_F(SessionRestoreTest, RestoreFailedToRestoringToSignedIn) {
    failToRestore();
    retry();
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(journal.entries(),
              (QStringList{u"restoring"_qs, u"refreshing"_qs, u"save"_qs, u"saved"_qs,
                           u"refresh"_qs, u"save"_qs, u"saved"_qs, u"signedIn"_qs}));
    EXPECT_EQ(store.savePrompts, (std::vector{UnlockPrompt::allowed, UnlockPrompt::allowed}));
}

TEST_F(SessionRestoreTest, ARetryRepeatsTheExchangeOfTheFirstAttempt) {
    store.stored = service.session();
    service.refreshAnswer.failWith(AuthenticationError(ErrorCase::unavailable));
    restore();
    service.refreshAnswer.answerWith(true);
    retry();
    EXPECT_TRUE(isIn(StateCase::signedIn));
    EXPECT_EQ(service.requests[0].operationID, service.requests[1].operationID);
    EXPECT_EQ(service.exchangeCount(), 1U);
}

TEST_F(SessionRestoreTest, ARetryInAnOutageFailsLikeTheFirstAttempt) {
    failToRestore();
    service.refreshFailure = AuthenticationError(ErrorCase::unavailable);
    retry();
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
    EXPECT_TRUE(store.stored);
}

TEST_F(SessionRestoreTest, ARetryWhosePreWriteFailsOffersAnother) {
    failToRestore();
    store.saveGate.failWith(AuthenticationError(ErrorCase::unavailable));
    retry();
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
}

TEST_F(SessionRestoreTest, ARefusedRetryIsSignedOut) {
    failToRestore();
    service.refreshFailure = AuthenticationError(ErrorCase::expiredSession);
    retry();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_FALSE(store.stored);
}

TEST_F(SessionRestoreTest, ARefusedRetryThatCannotBeRemovedIsSignedOutWithAWord) {
    failToRestore();
    service.refreshFailure = AuthenticationError(ErrorCase::expiredSession);
    store.clearGate.failWith(AuthenticationError(ErrorCase::unavailable));
    retry();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_EQ(status.errorMessage(),
              u"Your session expired, but Lumivane could not remove it from Keychain."_qs);
}

TEST_F(SessionRestoreTest, ARetryAfterTheTokenExpiredIsSignedOut) {
    failToRestore();
    clock.advance(service.refreshLifetime);
    retry();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(SessionRestoreTest, ARetryInAnyOtherStateDoesNothing) {
    failToRestore();
    for (const auto& state :
         {AuthenticationState::signedOut(), AuthenticationState::failed(u"trouble"_qs),
          AuthenticationState::restoring(), AuthenticationState::refreshing()}) {
        status.setState(state);
        journal.clear();
        retry();
        EXPECT_TRUE(journal.entries().isEmpty());
        EXPECT_EQ(status.state(), state);
    }
}

TEST_F(SessionRestoreTest, ASecondRetryDuringTheFirstDoesNothing) {
    failToRestore();
    store.saveGate.hold();
    retry();
    retry();
    EXPECT_EQ(store.saves.size(), 1U);
    store.saveGate.letGo();
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::signedIn));
}

TEST_F(SessionRestoreTest, SigningOutDuringARetryWins) {
    failToRestore();
    service.refreshAnswer.hold();
    retry();
    watch(flagged(keeper.signOut()));
    drainEvents();
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_FALSE(store.stored);
}

TEST_F(SessionRestoreTest, ARetryThatJoinsAnotherCallersExchangeTakesTheLoginOver) {
    failToRestore();
    service.refreshAnswer.hold();
    std::stop_source stop;
    askToken(stop.get_token());
    stop.request_stop();
    drainEvents();
    ASSERT_TRUE(isIn(StateCase::restoreFailed));
    retry();
    service.refreshAnswer.letGo();
    service.refreshAnswer.release(0, true);
    drainEvents();
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(service.exchangeCount(), 1U);
    EXPECT_EQ(store.stored, service.session());
}

TEST_F(SessionRestoreTest, AKeyringThatDidNotAnswerIsReadOnceMoreOnRetry) {
    store.stored = service.session();
    store.loadGate.failWith(AuthenticationError(ErrorCase::unavailable));
    restore();
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
    EXPECT_FALSE(keeper.storedSession());
    retry();
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
    store.loadGate.answerWith(true);
    retry();
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(store.loadPrompts,
              (std::vector{UnlockPrompt::never, UnlockPrompt::allowed, UnlockPrompt::allowed}));
}

TEST_F(SessionRestoreTest, AKeyringThatHoldsNothingOnRetryIsSignedOut) {
    store.loadGate.failWith(AuthenticationError(ErrorCase::unavailable));
    restore();
    store.loadGate.answerWith(true);
    retry();
    EXPECT_TRUE(isIn(StateCase::signedOut));
}

TEST_F(SessionRestoreTest, RestoreBeforeTheRetrysKeyringHasAnsweredDoesNothing) {
    store.loadGate.failWith(AuthenticationError(ErrorCase::unavailable));
    restore();
    store.loadGate.hold();
    retry();
    ASSERT_TRUE(isIn(StateCase::restoring));
    restore();
    EXPECT_EQ(journal.count(u"load"_qs), 2);
    store.loadGate.release(0, true);
    drainEvents();
}

TEST_F(SessionRestoreTest, ASignOutForgetsThatTheKeyringWasNotRead) {
    store.loadGate.failWith(AuthenticationError(ErrorCase::unavailable));
    restore();
    watch(flagged(keeper.signOut()));
    drainEvents();
    status.setState(AuthenticationState::restoreFailed(notRestored));
    clearRecords();
    retry();
    EXPECT_TRUE(journal.entries().isEmpty());
}

} // namespace lumivane
