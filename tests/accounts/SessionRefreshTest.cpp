#include "accounts/AuthenticationFixture.h"

namespace lumivane {

using test::drainEvents;
using test::outcomeOf;
using namespace std::chrono_literals;

namespace {

const QString notRestored =
    u"Lumivane could not restore your session. Try again when the service is available."_qs;
const QString interrupted = u"Session restoration was interrupted. Retry to continue."_qs;
const QString notRemoved =
    u"Your session expired, but Lumivane could not remove it from Keychain."_qs;

} // namespace

class SessionRefreshTest : public test::AuthenticationFixture {
protected:
    /// A session from an earlier run, without an access token: the outage at its restore is over.
    void holdStoredSessionOnly() {
        store.stored = service.session();
        status.setState(AuthenticationState::restoring());
        service.refreshFailure = AuthenticationError(ErrorCase::unavailable);
        outcomeOf(test::flagged(keeper.restore()));
        service.refreshFailure.reset();
        EXPECT_TRUE(isIn(StateCase::restoreFailed));
        clearRecords();
    }

    StoredSession pendingSession(const StoredSession& session) const {
        StoredSession pending = session;
        pending.pendingRefreshOperationID = firstOperation;
        return pending;
    }

    /// What the first 16 bytes of FakeRandomSource come to.
    const QUuid firstOperation = QUuid::fromString(u"00010203-0405-4607-8809-0a0b0c0d0e0f"_qs);
};

TEST_F(SessionRefreshTest, AGoodTokenCostsNothing) {
    signIn();
    const auto token = askToken();
    ASSERT_TRUE(token->value);
    EXPECT_EQ(*token->value, SecretText("access-0"));
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(random.requestCount, 0);
}

TEST_F(SessionRefreshTest, SixtySecondsExactlyAreTooFewAndSixtyOneAreNot) {
    signIn();
    clock.advance(service.accessLifetime - 61s);
    EXPECT_EQ(*askToken()->value, SecretText("access-0"));
    EXPECT_TRUE(service.requests.empty());
    clock.advance(1s);
    EXPECT_EQ(*askToken()->value, SecretText("access-1"));
    EXPECT_EQ(service.requests.size(), 1U);
}

TEST_F(SessionRefreshTest, APartOfASecondCounts) {
    signIn();
    clock.advance(service.accessLifetime - 60s - 1ms);
    EXPECT_EQ(*askToken()->value, SecretText("access-0"));
}

TEST_F(SessionRefreshTest, TheCallerSaysHowLongTheTokenHasToLast) {
    signIn();
    EXPECT_EQ(*askToken({}, service.accessLifetime - 1s)->value, SecretText("access-0"));
    EXPECT_EQ(*askToken({}, service.accessLifetime)->value, SecretText("access-1"));
}

TEST_F(SessionRefreshTest, AGoodTokenUndoesAFailure) {
    signIn();
    status.setState(AuthenticationState::failed(u"trouble"_qs));
    askToken();
    EXPECT_TRUE(isSignedInAs(service.user));
}

TEST_F(SessionRefreshTest, ARefreshWritesAsksWritesAndShowsTheUser) {
    signInBriefly();
    service.user.displayName = u"Ada L."_qs;
    const auto token = askToken();
    ASSERT_TRUE(token->value);
    EXPECT_EQ(*token->value, SecretText("access-1"));
    EXPECT_EQ(journal.entries(),
              (QStringList{u"refreshing"_qs, u"save"_qs, u"saved"_qs, u"refresh"_qs, u"save"_qs,
                           u"saved"_qs, u"signedIn"_qs}));
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(store.stored, service.session());
    EXPECT_EQ(keeper.storedSession(), store.stored);
    EXPECT_EQ(keeper.credentials(), service.login(1));
}

TEST_F(SessionRefreshTest, TheOperationIsWrittenBeforeTheRequestAndGoneAfterIt) {
    signInBriefly();
    const StoredSession before = *keeper.storedSession();
    askToken();
    ASSERT_EQ(store.saves.size(), 2U);
    EXPECT_EQ(store.saves[0], pendingSession(before));
    EXPECT_EQ(store.saves[1], service.session());
    EXPECT_EQ(store.savePrompts, (std::vector{UnlockPrompt::never, UnlockPrompt::never}));
    ASSERT_EQ(service.requests.size(), 1U);
    EXPECT_EQ(service.requests[0].token, "refresh-0");
    EXPECT_EQ(service.requests[0].operationID, firstOperation);
}

TEST_F(SessionRefreshTest, EachRefreshIsAnOperationOfItsOwn) {
    signInBriefly();
    askToken();
    clock.advance(service.accessLifetime);
    askToken();
    ASSERT_EQ(service.requests.size(), 2U);
    EXPECT_NE(service.requests[0].operationID, service.requests[1].operationID);
    EXPECT_EQ(service.requests[1].operationID->version(), QUuid::Random);
    EXPECT_EQ(service.requests[1].operationID->variant(), QUuid::DCE);
}

TEST_F(SessionRefreshTest, WhoeverAsksMayLetTheKeyringAsk) {
    signInBriefly();
    outcomeOf(keeper.validAccessToken(60s, UnlockPrompt::allowed, std::stop_token()));
    EXPECT_EQ(store.savePrompts, (std::vector{UnlockPrompt::allowed, UnlockPrompt::allowed}));
}

TEST_F(SessionRefreshTest, ALostAnswerIsFetchedWithTheSameOperation) {
    signInBriefly();
    service.refreshAnswer.failWith(AuthenticationError(ErrorCase::unavailable));
    EXPECT_EQ(askToken()->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::unavailable));
    EXPECT_EQ(store.stored->pendingRefreshOperationID, firstOperation);
    EXPECT_EQ(keeper.storedSession(), store.stored);
    service.refreshAnswer.answerWith(true);
    EXPECT_EQ(*askToken()->value, SecretText("access-1"));
    EXPECT_EQ(service.requests[1].token, "refresh-0");
    EXPECT_EQ(service.requests[1].operationID, firstOperation);
    EXPECT_EQ(service.exchangeCount(), 1U);
    EXPECT_EQ(store.stored->pendingRefreshOperationID, std::nullopt);
}

TEST_F(SessionRefreshTest, NothingToRefreshIsAnExpiredSessionAndTouchesNothing) {
    EXPECT_EQ(askToken()->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::expiredSession));
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(SessionRefreshTest, ARefreshTokenThatEndsNowIsExpiredAndTouchesNothing) {
    signIn();
    clock.advance(service.refreshLifetime);
    EXPECT_EQ(askToken()->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::expiredSession));
    EXPECT_TRUE(isIn(StateCase::signedIn));
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_TRUE(store.stored);
}

TEST_F(SessionRefreshTest, ARefreshTokenWithAMomentLeftIsUsed) {
    signIn();
    clock.advance(service.refreshLifetime - 1ms);
    EXPECT_EQ(*askToken()->value, SecretText("access-1"));
}

TEST_F(SessionRefreshTest, AClockThatJumpsBeyondEverythingEndsTheSessionButRemovesNothing) {
    signIn();
    clock.jumpWall(service.refreshLifetime + 1h);
    EXPECT_TRUE(askToken()->errorAs<AuthenticationError>());
    EXPECT_TRUE(store.stored);
    clock.jumpWall(-service.refreshLifetime - 1h);
    EXPECT_EQ(*askToken()->value, SecretText("access-0"));
}

TEST_F(SessionRefreshTest, AClockThatJumpsBackKeepsTheTokenInUse) {
    signInBriefly();
    clock.jumpWall(-1h);
    EXPECT_EQ(*askToken()->value, SecretText("access-0"));
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(SessionRefreshTest, WithoutStoredSessionTheCredentialsRefreshThemselves) {
    keeper.seed(service.login(0));
    clock.advance(service.accessLifetime);
    EXPECT_EQ(*askToken()->value, SecretText("access-1"));
    EXPECT_EQ(store.saves[0].refreshToken, SecretText("refresh-0"));
}

TEST_F(SessionRefreshTest, WithoutRandomBytesNothingIsWritten) {
    signInBriefly();
    random.isEmpty = true;
    EXPECT_EQ(askToken()->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::unavailable));
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_TRUE(isIn(StateCase::signedIn));
    random.isEmpty = false;
    EXPECT_TRUE(askToken()->value);
}

TEST_F(SessionRefreshTest, AFailedPreWriteWithCredentialsStaysSignedInAndSendsNothing) {
    signInBriefly();
    const StoredSession before = *store.stored;
    store.saveGate.failWith(AuthenticationError(ErrorCase::unavailable));
    EXPECT_EQ(askToken()->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::unavailable));
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_TRUE(service.requests.empty());
    EXPECT_EQ(keeper.storedSession(), before);
    EXPECT_EQ(store.stored, before);
}

TEST_F(SessionRefreshTest, AFailedPreWriteWithoutCredentialsHasFailed) {
    holdStoredSessionOnly();
    store.saveGate.failWith(AuthenticationError(ErrorCase::unavailable));
    EXPECT_EQ(askToken()->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::unavailable));
    EXPECT_EQ(status.state(),
              AuthenticationState::failed(u"Lumivane could not update its Keychain session."_qs));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(SessionRefreshTest, AKeyringThatIsLockedMeanwhileIsNamedUntilItTakesASession) {
    signInBriefly();
    const AuthenticationError locked(ErrorCase::unavailable, KeyringTrouble::locked);
    store.saveGate.failWith(locked);
    EXPECT_EQ(askToken()->errorAs<AuthenticationError>(), locked);
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(status.errorMessage(), keyringAdvice(KeyringTrouble::locked));
    store.saveGate.answerWith(true);
    EXPECT_TRUE(askToken()->value);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(SessionRefreshTest, AnOutageWithCredentialsStaysSignedIn) {
    for (const auto trouble : {ErrorCase::unavailable, ErrorCase::invalidResponse}) {
        signInBriefly();
        service.refreshFailure = AuthenticationError(trouble);
        EXPECT_EQ(askToken()->errorAs<AuthenticationError>(), AuthenticationError(trouble));
        EXPECT_TRUE(isSignedInAs(service.user));
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        EXPECT_TRUE(keeper.storedSession()->pendingRefreshOperationID);
        EXPECT_EQ(store.stored, keeper.storedSession());
    }
}

TEST_F(SessionRefreshTest, AnOutageWithoutCredentialsOffersARetry) {
    holdStoredSessionOnly();
    service.refreshFailure = AuthenticationError(ErrorCase::unavailable);
    EXPECT_TRUE(askToken()->errorAs<AuthenticationError>());
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
    EXPECT_TRUE(store.stored);
}

TEST_F(SessionRefreshTest, ARefusedTokenEndsTheSession) {
    signInBriefly();
    service.refreshFailure = AuthenticationError(ErrorCase::expiredSession);
    const std::uint64_t generation = keeper.generation();
    EXPECT_EQ(askToken()->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::expiredSession));
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_FALSE(store.stored);
    EXPECT_FALSE(keeper.credentials());
    EXPECT_FALSE(keeper.storedSession());
    EXPECT_EQ(keeper.generation(), generation + 1);
    EXPECT_EQ(journal.count(u"cleared"_qs), 1);
    EXPECT_EQ(store.clearPrompts, std::vector{UnlockPrompt::never});
}

TEST_F(SessionRefreshTest, ARefusedTokenThatCannotBeRemovedHasFailed) {
    signInBriefly();
    service.refreshFailure = AuthenticationError(ErrorCase::expiredSession);
    store.clearGate.failWith(AuthenticationError(ErrorCase::unavailable));
    EXPECT_EQ(askToken()->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::expiredSession));
    EXPECT_EQ(status.state(), AuthenticationState::failed(notRemoved));
    EXPECT_EQ(status.errorMessage(), notRemoved);
    EXPECT_FALSE(keeper.credentials());
    EXPECT_EQ(journal.count(u"cleared"_qs), 1);
}

TEST_F(SessionRefreshTest, AFailedLastWriteDropsTheNewTokensAndKeepsTheOperation) {
    signInBriefly();
    const StoredSession before = *store.stored;
    service.refreshAnswer.hold();
    const auto token = askToken();
    store.saveGate.failWith(AuthenticationError(ErrorCase::unavailable));
    service.refreshAnswer.release(0, true);
    drainEvents();
    EXPECT_EQ(token->errorAs<AuthenticationError>(), AuthenticationError(ErrorCase::unavailable));
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(keeper.credentials()->accessToken, SecretText("access-0"));
    EXPECT_EQ(store.stored, pendingSession(before));
    EXPECT_EQ(keeper.storedSession(), store.stored);

    store.saveGate.answerWith(true);
    service.refreshAnswer.letGo();
    EXPECT_EQ(*askToken()->value, SecretText("access-1"));
    EXPECT_EQ(service.exchangeCount(), 1U);
    EXPECT_EQ(store.stored->refreshToken, SecretText("refresh-1"));
}

TEST_F(SessionRefreshTest, AFailedLastWriteWithoutCredentialsOffersARetry) {
    holdStoredSessionOnly();
    service.refreshAnswer.hold();
    const auto token = askToken();
    store.saveGate.failWith(AuthenticationError(ErrorCase::unavailable));
    service.refreshAnswer.release(0, true);
    drainEvents();
    EXPECT_TRUE(token->error);
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(notRestored));
}

TEST_F(SessionRefreshTest, AnotherStateMeanwhileDropsTheAnswer) {
    signInBriefly();
    service.refreshAnswer.hold();
    const auto token = askToken();
    status.setState(AuthenticationState::authorizing(AuthProvider::google));
    service.refreshAnswer.release(0, true);
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(store.saves.size(), 1U);
    EXPECT_EQ(keeper.storedSession()->pendingRefreshOperationID, firstOperation);
}

TEST_F(SessionRefreshTest, AnotherStateDuringTheLastWriteKeepsTheOldTokens) {
    signInBriefly();
    service.refreshAnswer.hold();
    const auto token = askToken();
    store.saveGate.hold();
    service.refreshAnswer.release(0, true);
    drainEvents();
    ASSERT_EQ(store.saveGate.pendingCount(), 1U);
    status.setState(AuthenticationState::authorizing(AuthProvider::google));
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_EQ(keeper.credentials()->accessToken, SecretText("access-0"));
    EXPECT_TRUE(isSignedInAs(service.user));
}

TEST_F(SessionRefreshTest, ACallerWhoHasGivenUpStartsNothing) {
    signInBriefly();
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(askToken(stop.get_token())->isCancelled);
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_TRUE(isIn(StateCase::signedIn));
}

TEST_F(SessionRefreshTest, AStopWithCredentialsStaysSignedIn) {
    signInBriefly();
    service.refreshAnswer.hold();
    std::stop_source stop;
    const auto token = askToken(stop.get_token());
    EXPECT_TRUE(isIn(StateCase::refreshing));
    stop.request_stop();
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(isSignedInAs(service.user));
    service.refreshAnswer.release(0, true);
    drainEvents();
}

TEST_F(SessionRefreshTest, AStopWithoutCredentialsOffersARetry) {
    holdStoredSessionOnly();
    service.refreshAnswer.hold();
    std::stop_source stop;
    const auto token = askToken(stop.get_token());
    stop.request_stop();
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_EQ(status.state(), AuthenticationState::restoreFailed(interrupted));
    service.refreshAnswer.release(0, true);
    drainEvents();
}

TEST_F(SessionRefreshTest, AStopDuringThePreWriteEndsTheWaitOnly) {
    signInBriefly();
    store.saveGate.hold();
    std::stop_source stop;
    const auto token = askToken(stop.get_token());
    stop.request_stop();
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(isSignedInAs(service.user));
    store.saveGate.letGo();
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_EQ(service.requests.size(), 1U);
    EXPECT_EQ(keeper.storedSession()->pendingRefreshOperationID, firstOperation);
    EXPECT_EQ(keeper.credentials()->accessToken, SecretText("access-0"));
}

TEST_F(SessionRefreshTest, AStopDuringTheLastWriteLeavesAnExchangeThatRepeats) {
    signInBriefly();
    service.refreshAnswer.hold();
    std::stop_source stop;
    const auto token = askToken(stop.get_token());
    store.saveGate.hold();
    service.refreshAnswer.release(0, true);
    drainEvents();
    stop.request_stop();
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(isSignedInAs(service.user));
    store.saveGate.letGo();
    service.refreshAnswer.letGo();
    store.saveGate.cancelPending();
    EXPECT_EQ(*askToken()->value, SecretText("access-1"));
    EXPECT_EQ(service.exchangeCount(), 1U);
}

TEST_F(SessionRefreshTest, TheLogHoldsNoTokenAndNoUser) {
    signInBriefly();
    askToken();
    service.refreshFailure = AuthenticationError(ErrorCase::expiredSession);
    clock.advance(service.accessLifetime);
    askToken();
    for (const char* canary : {"access-", "refresh-", "Ada", "ada", "00010203"}) {
        EXPECT_FALSE(log.holds(canary)) << canary;
    }
}

} // namespace lumivane
