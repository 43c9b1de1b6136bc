#include "accounts/AuthenticationFixture.h"

namespace lumivane {

using test::drainEvents;
using test::flagged;
using test::watch;

/// Several callers and one exchange.
class SharedRefreshTest : public test::AuthenticationFixture {
protected:
    void SetUp() override {
        signInBriefly();
        service.refreshAnswer.hold();
    }

    void answer() {
        service.refreshAnswer.release(service.refreshAnswer.pendingCount() - 1, true);
        drainEvents();
    }
};

TEST_F(SharedRefreshTest, TwoCallersAtTheSameMomentShareOneRequest) {
    const auto first =
        watch(keeper.validAccessToken(std::chrono::seconds(60), UnlockPrompt::never, {}));
    const auto second =
        watch(keeper.validAccessToken(std::chrono::seconds(60), UnlockPrompt::never, {}));
    drainEvents();
    answer();
    ASSERT_TRUE(first->value && second->value);
    EXPECT_EQ(*first->value, SecretText("access-1"));
    EXPECT_EQ(*second->value, SecretText("access-1"));
    EXPECT_EQ(service.requestsTo(u"refresh"_qs).size(), 1U);
    EXPECT_EQ(store.saves.size(), 2U);
}

TEST_F(SharedRefreshTest, ACallerDuringThePreWriteJoins) {
    store.saveGate.hold();
    const auto first = askToken();
    const auto second = askToken();
    EXPECT_EQ(store.saves.size(), 1U);
    store.saveGate.letGo();
    store.saveGate.release(0, true);
    drainEvents();
    answer();
    EXPECT_TRUE(first->value && second->value);
    EXPECT_EQ(service.requests.size(), 1U);
}

TEST_F(SharedRefreshTest, ACallerDuringTheLastWriteGetsTheNewTokenAtOnce) {
    const auto first = askToken();
    store.saveGate.hold();
    answer();
    ASSERT_EQ(store.saveGate.pendingCount(), 1U);
    const auto second = askToken();
    ASSERT_TRUE(second->value);
    EXPECT_EQ(*second->value, SecretText("access-1"));
    EXPECT_FALSE(first->hasEnded());
    EXPECT_EQ(service.requests.size(), 1U);
    EXPECT_EQ(store.saves.size(), 2U);
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(first->value);
}

TEST_F(SharedRefreshTest, AJoinerDoesNotAskHowLongTheTokenLasts) {
    const auto first = askToken();
    const auto second = askToken({}, service.accessLifetime * 2);
    answer();
    EXPECT_EQ(*second->value, SecretText("access-1"));
    EXPECT_EQ(service.requests.size(), 1U);
}

TEST_F(SharedRefreshTest, AJoinerGetsTheErrorUntouched) {
    const auto first = askToken();
    const auto second = askToken();
    service.refreshAnswer.fail(0, AuthenticationError(ErrorCase::invalidResponse));
    drainEvents();
    EXPECT_EQ(first->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::invalidResponse));
    EXPECT_EQ(second->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::invalidResponse));
    EXPECT_EQ(journal.count(u"signedIn"_qs), 1);
}

TEST_F(SharedRefreshTest, AJoinersStopEndsItsOwnWait) {
    std::stop_source stop;
    const auto first = askToken();
    const auto second = askToken(stop.get_token());
    stop.request_stop();
    drainEvents();
    EXPECT_TRUE(second->isCancelled);
    EXPECT_FALSE(first->hasEnded());
    EXPECT_TRUE(isIn(StateCase::refreshing));
    answer();
    EXPECT_EQ(*first->value, SecretText("access-1"));
}

TEST_F(SharedRefreshTest, TheFirstCallersStopLeavesTheResultToThoseWhoJoined) {
    std::stop_source stop;
    const auto first = askToken(stop.get_token());
    const auto second = askToken();
    stop.request_stop();
    drainEvents();
    EXPECT_TRUE(first->isCancelled);
    EXPECT_FALSE(second->hasEnded());
    EXPECT_TRUE(isSignedInAs(service.user));
    const auto late = askToken();
    answer();
    EXPECT_EQ(*second->value, SecretText("access-1"));
    EXPECT_EQ(*late->value, SecretText("access-1"));
    EXPECT_EQ(store.saves.size(), 1U);
    EXPECT_TRUE(store.stored->pendingRefreshOperationID);
    EXPECT_EQ(keeper.credentials()->accessToken, SecretText("access-0"));

    service.refreshAnswer.letGo();
    EXPECT_EQ(*askToken()->value, SecretText("access-1"));
    EXPECT_EQ(service.requests[1].operationID, service.requests[0].operationID);
    EXPECT_EQ(service.exchangeCount(), 1U);
    EXPECT_FALSE(store.stored->pendingRefreshOperationID);
}

TEST_F(SharedRefreshTest, ARefusalThatComesAfterTheFirstCallerLeftEndsTheSession) {
    std::stop_source stop;
    const auto first = askToken(stop.get_token());
    const auto second = askToken();
    stop.request_stop();
    drainEvents();
    service.refreshAnswer.fail(0, AuthenticationError(ErrorCase::expiredSession));
    drainEvents();
    EXPECT_EQ(second->errorAs<AuthenticationError>(),
              AuthenticationError(ErrorCase::expiredSession));
    EXPECT_TRUE(isIn(StateCase::signedOut));
    EXPECT_FALSE(store.stored);
    EXPECT_EQ(journal.count(u"cleared"_qs), 1);
}

TEST_F(SharedRefreshTest, ARefusalAfterTheFirstCallerLeftThatCannotBeClearedIsTold) {
    std::stop_source stop;
    const auto first = askToken(stop.get_token());
    stop.request_stop();
    drainEvents();
    store.clearGate.failWith(AuthenticationError(ErrorCase::unavailable));
    service.refreshAnswer.fail(0, AuthenticationError(ErrorCase::expiredSession));
    drainEvents();
    const QString text =
        u"Your session expired, but Lumivane could not remove it from Keychain."_qs;
    EXPECT_EQ(status.state(), AuthenticationState::failed(text));
    EXPECT_EQ(status.errorMessage(), text);
}

TEST_F(SharedRefreshTest, AnOutageThatComesAfterTheFirstCallerLeftChangesNothing) {
    std::stop_source stop;
    const auto first = askToken(stop.get_token());
    stop.request_stop();
    drainEvents();
    journal.clear();
    service.refreshAnswer.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(journal.entries().isEmpty());
    service.refreshAnswer.letGo();
    EXPECT_TRUE(askToken()->value);
}

TEST_F(SharedRefreshTest, AKeeperThatGoesEndsAllWaits) {
    auto shortLived = std::make_unique<SessionKeeper>(ports, status);
    shortLived->seed(service.login(0));
    clock.advance(service.accessLifetime);
    const auto first =
        watch(shortLived->validAccessToken(std::chrono::seconds(60), UnlockPrompt::never, {}));
    const auto second =
        watch(shortLived->validAccessToken(std::chrono::seconds(60), UnlockPrompt::never, {}));
    drainEvents();
    shortLived.reset();
    drainEvents();
    EXPECT_TRUE(first->isCancelled);
    EXPECT_TRUE(second->isCancelled);
    EXPECT_TRUE(service.requests[0].stop.stop_requested());
}

TEST_F(SharedRefreshTest, AKeeperThatGoesDuringThePreWriteSendsNothing) {
    store.saveGate.hold();
    store.saveGate.ignoreStops();
    auto shortLived = std::make_unique<SessionKeeper>(ports, status);
    shortLived->seed(service.login(0));
    clock.advance(service.accessLifetime);
    const auto first =
        watch(shortLived->validAccessToken(std::chrono::seconds(60), UnlockPrompt::never, {}));
    drainEvents();
    shortLived.reset();
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(first->isCancelled);
    EXPECT_TRUE(service.requests.empty());
}

} // namespace lumivane
