#include "support/ScriptedAccountServer.h"

#include "accounts/AuthClient.h"
#include "accounts/AuthenticationError.h"
#include "platform/linux/QtHttpTransport.h"
#include "support/EventLoop.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

namespace lumivane {

using namespace std::chrono_literals;
using namespace test;
using Case = AuthenticationError::Case;
using Fault = RefreshFault;

class ScriptedAccountServerTest : public testing::Test {
protected:
    Outcome<AuthCredentials> refresh(const QByteArray& token, QUuid operation) {
        return outcomeOf(client.refresh(SecretText(token), operation, {}));
    }

    std::optional<AuthenticationError> errorOf(const QByteArray& token, QUuid operation) {
        return refresh(token, operation).errorAs<AuthenticationError>();
    }

    const QUuid first = QUuid(u"{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}"_qs);
    const QUuid second = QUuid(u"{1A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}"_qs);
    ManualClock clock;
    ScriptedAccountServer server{clock};
    QtHttpTransport transport{clock};
    AuthClient client{server.baseURL(), {}, transport};
};

TEST_F(ScriptedAccountServerTest, AnExchangeHandsOutNewTokens) {
    EXPECT_EQ(server.session().refreshToken, SecretText(QByteArrayView("refresh-0")));
    const auto outcome = refresh("refresh-0", first);
    ASSERT_TRUE(outcome.value);
    EXPECT_EQ(outcome.value->refreshToken, SecretText(QByteArrayView("refresh-1")));
    EXPECT_EQ(outcome.value->accessToken, SecretText(QByteArrayView("access-1")));
    EXPECT_EQ(outcome.value->accessExpiresAt, clock.wallNow().addSecs(900));
    EXPECT_EQ(outcome.value->user, server.user());
    EXPECT_EQ(server.exchangeCount(), 1U);
    EXPECT_EQ(server.currentRefreshToken(), "refresh-1");
    EXPECT_TRUE(refresh("refresh-1", second).value);
    EXPECT_EQ(server.exchangeCount(), 2U);
}

TEST_F(ScriptedAccountServerTest, ARepeatedPairIsTheSameExchange) {
    const auto once = refresh("refresh-0", first);
    clock.advance(1h);
    server.setUser({});
    const auto again = refresh("refresh-0", first);
    ASSERT_TRUE(once.value && again.value);
    EXPECT_EQ(*once.value, *again.value);
    EXPECT_EQ(server.exchangeCount(), 1U);
    EXPECT_EQ(
        server.refreshRequests(),
        std::vector<RefreshRequest>(2, {"refresh-0", "0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9"}));
}

TEST_F(ScriptedAccountServerTest, ATokenIsExchangedOnce) {
    EXPECT_TRUE(refresh("refresh-0", first).value);
    EXPECT_EQ(errorOf("refresh-0", second), Case::expiredSession);
    EXPECT_EQ(errorOf("refresh-7", second), Case::expiredSession);
    EXPECT_EQ(server.exchangeCount(), 1U);
}

TEST_F(ScriptedAccountServerTest, FaultsBeforeTheExchangeLeaveNothing) {
    server.scriptRefresh({Fault::refused, Fault::failed, Fault::unreachable, Fault::none});
    EXPECT_EQ(errorOf("refresh-0", first), Case::expiredSession);
    EXPECT_EQ(errorOf("refresh-0", first), Case::unavailable);
    EXPECT_EQ(errorOf("refresh-0", first), Case::unavailable);
    EXPECT_EQ(server.exchangeCount(), 0U);
    EXPECT_TRUE(refresh("refresh-0", second).value);
    EXPECT_EQ(server.refreshRequests().size(), 4U);
}

TEST_F(ScriptedAccountServerTest, FaultsAfterTheExchangeAreMendedByTheSamePair) {
    for (const Fault fault :
         {Fault::failedLate, Fault::replyLost, Fault::replyGarbled, Fault::replyUnfinished}) {
        const QByteArray token = server.currentRefreshToken();
        const QUuid operation = QUuid::createUuid();
        const std::size_t before = server.exchangeCount();
        server.scriptRefresh({fault});
        EXPECT_EQ(errorOf(token, operation), Case::unavailable) << static_cast<int>(fault);
        EXPECT_EQ(server.exchangeCount(), before + 1);
        EXPECT_TRUE(refresh(token, operation).value) << static_cast<int>(fault);
        EXPECT_EQ(server.exchangeCount(), before + 1);
    }
}

TEST_F(ScriptedAccountServerTest, AHeldAnswerWaitsWhileItsExchangeStands) {
    server.holdRefreshes();
    const auto outcome = watch(client.refresh(SecretText(QByteArrayView("refresh-0")), first, {}));
    ASSERT_TRUE(waitUntil([&] { return server.exchangeCount() == 1; }));
    EXPECT_FALSE(outcome->hasEnded());
    server.release();
    ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(refresh("refresh-1", second).value);
}

TEST_F(ScriptedAccountServerTest, AnAnswerThatComesTooLateIsAnOutage) {
    server.holdRefreshes();
    const auto outcome = watch(client.refresh(SecretText(QByteArrayView("refresh-0")), first, {}));
    ASSERT_TRUE(waitUntil([&] { return server.exchangeCount() == 1; }));
    clock.advance(60s);
    ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_EQ(outcome->errorAs<AuthenticationError>(), Case::unavailable);
}

TEST_F(ScriptedAccountServerTest, ARevokedTokenIsRefused) {
    outcomeOf(flagged(client.revoke(SecretText(QByteArrayView("refresh-9")), {})));
    EXPECT_TRUE(refresh("refresh-0", first).value);
    outcomeOf(flagged(client.revoke(SecretText(QByteArrayView("refresh-1")), {})));
    EXPECT_EQ(errorOf("refresh-1", second), Case::expiredSession);
    EXPECT_EQ(errorOf("refresh-0", first), Case::expiredSession);
}

TEST_F(ScriptedAccountServerTest, LifetimesAreThoseAskedFor) {
    server.setLifetimes(-1s, 10s);
    const auto outcome = refresh("refresh-0", first);
    ASSERT_TRUE(outcome.value);
    EXPECT_EQ(outcome.value->accessExpiresAt, clock.wallNow().addSecs(-1));
    EXPECT_EQ(outcome.value->refreshExpiresAt, clock.wallNow().addSecs(10));
    EXPECT_EQ(server.session().refreshExpiresAt, clock.wallNow().addSecs(10));
}

} // namespace lumivane
