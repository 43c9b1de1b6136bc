#include "accounts/AuthenticationFixture.h"

namespace lumivane {

using test::drainEvents;
using test::flagged;
using test::watch;

/// What becomes of a complete login.
class SessionAdoptionTest : public test::AuthenticationFixture {
protected:
    std::shared_ptr<test::Outcome<bool>> adopt(const AuthCredentials& login,
                                               std::stop_token stop = {}) {
        auto outcome = watch(flagged(keeper.adopt(login, keeper.generation(), std::move(stop))));
        drainEvents();
        return outcome;
    }
};

TEST_F(SessionAdoptionTest, ALoginIsStoredBeforeItIsHeld) {
    status.setErrorMessage(u"old trouble"_qs);
    store.saveGate.hold();
    const AuthCredentials login = service.login(0);
    const auto outcome = adopt(login);
    EXPECT_FALSE(keeper.credentials());
    EXPECT_TRUE(isIn(StateCase::signedOut));
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(keeper.credentials(), login);
    EXPECT_EQ(store.stored, service.session());
    EXPECT_EQ(keeper.storedSession(), store.stored);
    EXPECT_TRUE(isSignedInAs(service.user));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(store.savePrompts, std::vector{UnlockPrompt::allowed});
    EXPECT_EQ(keeper.generation(), 0U);
}

TEST_F(SessionAdoptionTest, ALoginThatCannotBeStoredIsNotHeld) {
    signIn();
    store.saveGate.failWith(AuthenticationError(ErrorCase::unavailable));
    const auto outcome = adopt(service.login(5));
    EXPECT_EQ(outcome->errorAs<AuthenticationError>(), AuthenticationError(ErrorCase::unavailable));
    EXPECT_EQ(keeper.credentials()->accessToken, SecretText("access-0"));
    EXPECT_EQ(keeper.storedSession()->refreshToken, SecretText("refresh-0"));
    EXPECT_TRUE(journal.count(u"signedIn"_qs) == 0);
    store.saveGate.answerWith(true);
    clock.advance(service.accessLifetime);
    EXPECT_TRUE(askToken()->value);
}

TEST_F(SessionAdoptionTest, ALoginOfAnotherGenerationIsDropped) {
    const std::uint64_t generation = keeper.generation();
    watch(flagged(keeper.clearLocalSession(UnlockPrompt::never)));
    drainEvents();
    const auto outcome = watch(flagged(keeper.adopt(service.login(0), generation, {})));
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_TRUE(store.saves.empty());
}

TEST_F(SessionAdoptionTest, AClearingDuringTheWriteLeavesNothing) {
    store.saveGate.hold();
    store.saveGate.ignoreStops();
    const auto outcome = adopt(service.login(0));
    watch(flagged(keeper.clearLocalSession(UnlockPrompt::never)));
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_FALSE(keeper.credentials());
    EXPECT_FALSE(store.stored);
    EXPECT_TRUE(isIn(StateCase::signedOut));
}

TEST_F(SessionAdoptionTest, AWriteThatFailsAfterAClearingIsCancelled) {
    store.saveGate.hold();
    const auto outcome = adopt(service.login(0));
    watch(flagged(keeper.clearLocalSession(UnlockPrompt::never)));
    store.saveGate.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
}

TEST_F(SessionAdoptionTest, AStopDropsTheLogin) {
    store.saveGate.hold();
    std::stop_source stop;
    const auto outcome = adopt(service.login(0), stop.get_token());
    stop.request_stop();
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_FALSE(keeper.credentials());
}

TEST_F(SessionAdoptionTest, WhoeverAsksForATokenMeanwhileGetsTheNewOne) {
    signInBriefly();
    store.saveGate.hold();
    adopt(service.login(5));
    const auto token = askToken();
    EXPECT_FALSE(token->hasEnded());
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_EQ(*token->value, SecretText("access-5"));
    EXPECT_TRUE(service.requests.empty());
    EXPECT_EQ(store.saves.size(), 1U);
}

TEST_F(SessionAdoptionTest, ARefreshUnderWayDoesNotOverwriteTheLogin) {
    signInBriefly();
    service.refreshAnswer.hold();
    service.refreshAnswer.ignoreStops();
    const auto token = askToken();
    store.saveGate.hold();
    const auto outcome = adopt(service.login(5));
    service.refreshAnswer.release(0, true);
    drainEvents();
    store.saveGate.letGo();
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(store.stored->refreshToken, SecretText("refresh-5"));
    EXPECT_EQ(keeper.storedSession(), store.stored);
    EXPECT_EQ(keeper.credentials()->accessToken, SecretText("access-5"));
    EXPECT_TRUE(isIn(StateCase::signedIn));
}

TEST_F(SessionAdoptionTest, ALastWriteUnderWayDoesNotOverwriteTheLogin) {
    signInBriefly();
    service.refreshAnswer.hold();
    const auto token = askToken();
    store.saveGate.hold();
    service.refreshAnswer.release(0, true);
    drainEvents();
    const auto outcome = adopt(service.login(5));
    store.saveGate.letGo();
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(token->isCancelled);
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(store.stored->refreshToken, SecretText("refresh-5"));
    EXPECT_EQ(keeper.credentials()->accessToken, SecretText("access-5"));
}

TEST_F(SessionAdoptionTest, AnotherUserOfTheSameSessionKeepsItsTokens) {
    signIn();
    status.setErrorMessage(u"old trouble"_qs);
    UserSummary user = service.user;
    user.handle = u"countess"_qs;
    keeper.replaceUser(user);
    EXPECT_TRUE(isSignedInAs(user));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(keeper.credentials(), service.login(0).withUser(user));
    EXPECT_TRUE(store.saves.empty());
}

TEST_F(SessionAdoptionTest, WithoutCredentialsThereIsNoUserToReplaceOrShow) {
    keeper.replaceUser(service.user);
    EXPECT_FALSE(keeper.showSignedIn());
    EXPECT_TRUE(journal.entries().isEmpty());
}

} // namespace lumivane
