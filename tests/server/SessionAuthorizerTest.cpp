#include "server/accounts/SessionAuthorizer.h"

#include "server/AccountFixture.h"
#include "server/accounts/SessionDirectory.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/use_future.hpp>

namespace lumivane::service::test {

using namespace std::chrono_literals;

namespace {

class SessionAuthorizerTest : public AccountTest {
protected:
    ~SessionAuthorizerTest() override { m_pool.join(); }

    // "account device" of whom the token stands for, or the code of the refusal.
    std::string judge(const std::string& token) {
        const Authorization authorization = authorizer.judge(token);
        if (const auto* refusal = std::get_if<Refusal>(&authorization)) {
            return std::to_string(refusal->status) + " " + refusal->code;
        }
        const auto& principal = std::get<Principal>(authorization);
        return principal.accountId + " " + principal.deviceId.value_or("none");
    }

    Principal principalOf(const std::string& token) {
        return std::get<Principal>(authorizer.judge(token));
    }

    long long lastSeen() { return store().number("SELECT last_seen_at FROM devices"); }

private:
    boost::asio::thread_pool m_pool{1};

protected:
    SessionAuthorizer authorizer{database(), clock(), m_pool};
    SessionDirectory directory{database(), clock()};
};

INSTANTIATE_TEST_SUITE_P(Engines, SessionAuthorizerTest, everyEngine(), engineName);

} // namespace

TEST_P(SessionAuthorizerTest, AnAccessTokenStandsForItsAccountSessionAndMachine) {
    const IssuedLogin made = login(laptop);

    EXPECT_EQ(judge(made.tokens.accessToken), "ada " + laptop.identifier);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM sessions WHERE id = '" +
                             principalOf(made.tokens.accessToken).sessionId + "'"),
              1);
}

TEST_P(SessionAuthorizerTest, ATokenThatEndsExactlyNowHasExpired) {
    const IssuedLogin made = login();
    clock().set(made.tokens.accessExpiresAt - 1ms);
    EXPECT_EQ(judge(made.tokens.accessToken), "ada " + laptop.identifier);

    clock().advance(1ms);
    EXPECT_EQ(judge(made.tokens.accessToken), "401 unauthorized");
}

TEST_P(SessionAuthorizerTest, ARefreshLeavesTheOlderAccessTokenGoodUntilItsOwnEnd) {
    const IssuedLogin first = login();
    const IssuedLogin second = refresh(first.tokens.refreshToken);

    EXPECT_EQ(judge(first.tokens.accessToken), "ada " + laptop.identifier);
    EXPECT_EQ(judge(second.tokens.accessToken), "ada " + laptop.identifier);
}

TEST_P(SessionAuthorizerTest, AMovedAccountTellsTheOldMachineEvenAfterItsTokenExpired) {
    const IssuedLogin first = login(laptop);
    const IssuedLogin second = takeover.takeOver(ticketFor(desktop), desktop);

    EXPECT_EQ(judge(first.tokens.accessToken), "401 device_evicted");
    EXPECT_EQ(judge(second.tokens.accessToken), "ada " + desktop.identifier);
    clock().advance(1h);
    EXPECT_EQ(judge(first.tokens.accessToken), "401 device_evicted");
}

TEST_P(SessionAuthorizerTest, EveryOtherEndIsUnauthorized) {
    const std::string revoked = [&] {
        const IssuedLogin made = login();
        tokens.revoke(made.tokens.refreshToken);
        return made.tokens.accessToken;
    }();
    const std::string replaced = login().tokens.accessToken;
    const std::string signedOut = login().tokens.accessToken;
    directory.signOut(principalOf(signedOut));
    const std::string replayed = [&] {
        const IssuedLogin made = login();
        refresh(made.tokens.refreshToken, operationX);
        EXPECT_EQ(refusalOf([&] { refresh(made.tokens.refreshToken, operationY); }),
                  "unauthorized");
        return made.tokens.accessToken;
    }();

    for (const auto& token : {revoked, replaced, signedOut, replayed}) {
        EXPECT_EQ(judge(token), "401 unauthorized");
    }
    EXPECT_EQ(
        endedAs("revoked") + endedAs("replaced") + endedAs("signed_out") + endedAs("replayed"), 4);
}

TEST_P(SessionAuthorizerTest, ATicketIsNoAccessToken) {
    login(laptop);
    const std::string ticket = ticketFor(desktop);
    EXPECT_EQ(judge(ticket), "403 insufficient_scope");

    takeover.takeOver(ticket, desktop);
    EXPECT_EQ(judge(ticket), "403 insufficient_scope");
}

TEST_P(SessionAuthorizerTest, WhatIsNoTokenIsUnauthorized) {
    const IssuedLogin made = login();
    for (const std::string& token :
         {std::string("x"), made.tokens.refreshToken, tokenHash(made.tokens.accessToken),
          made.tokens.accessToken + "A", std::string(4096, 'A'),
          std::string("'OR'1'='1'--aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa")}) {
        EXPECT_EQ(judge(token), "401 unauthorized") << token;
    }
}

TEST_P(SessionAuthorizerTest, LastUseIsWrittenDownAtMostOnceAMinute) {
    const std::string token = login().tokens.accessToken;
    const long long start = storedTime(clock().now());
    clock().advance(1min - 1ms);
    judge(token);
    EXPECT_EQ(lastSeen(), start);

    clock().advance(1ms);
    judge(token);
    EXPECT_EQ(lastSeen(), start + 60'000);

    clock().advance(30s);
    judge(token);
    EXPECT_EQ(lastSeen(), start + 60'000);
}

TEST_P(SessionAuthorizerTest, ADeviceThatIsRefusedWasNotSeen) {
    const IssuedLogin made = login(laptop);
    tokens.revoke(made.tokens.refreshToken);
    clock().advance(5min);
    judge(made.tokens.accessToken);

    EXPECT_EQ(lastSeen(), storedTime(ManualWallClock::start));
}

TEST_P(SessionAuthorizerTest, DevicesComeWithTheAskingOneFirstThenByLastUse) {
    login(laptop);
    clock().advance(2min);
    takeover.takeOver(ticketFor(tablet), tablet);
    clock().advance(2min);
    takeover.takeOver(ticketFor(desktop), desktop);
    clock().advance(2min);
    const IssuedLogin back = takeover.takeOver(ticketFor(laptop), laptop);
    clock().set(ManualWallClock::start + 1min);

    Principal principal = principalOf(back.tokens.accessToken);
    const auto ids = [&] {
        std::vector<std::string> found;
        for (const KnownDevice& device : directory.devices(principal)) {
            found.push_back(device.identifier);
        }
        return found;
    };
    EXPECT_EQ(ids(), (std::vector{laptop.identifier, desktop.identifier, tablet.identifier}));
    principal.deviceId = tablet.identifier;
    EXPECT_EQ(ids(), (std::vector{tablet.identifier, laptop.identifier, desktop.identifier}));
    principal.accountId = "nobody";
    EXPECT_TRUE(ids().empty());
}

TEST_P(SessionAuthorizerTest, TheUserOfAnAccountDeletedMeanwhileIsUnauthorized) {
    const Principal principal = principalOf(login().tokens.accessToken);
    EXPECT_EQ(directory.user(principal).handle, "ada");
    store().execute("DELETE FROM accounts");

    EXPECT_EQ(refusalOf([&] { directory.user(principal); }), "unauthorized");
    EXPECT_NO_THROW(directory.signOut(principal));
}

TEST_P(SessionAuthorizerTest, ADatabaseThatCannotBeUsedIsSaidSoOverThePool) {
    const std::string token = login().tokens.accessToken;
    boost::asio::thread_pool pool(1);
    boost::asio::io_context context;
    const auto askOnce = [&] {
        SessionAuthorizer onPool(database(), clock(), pool);
        auto answer =
            boost::asio::co_spawn(context, onPool.authorize(token), boost::asio::use_future);
        context.restart();
        context.run();
        return answer.get();
    };
    EXPECT_TRUE(std::holds_alternative<Principal>(askOnce()));
    store().breakDown();

    const auto refusal = std::get<Refusal>(askOnce());
    EXPECT_EQ(refusal.status, 503);
    EXPECT_EQ(refusal.code, "storage_unavailable");
    pool.join();
}

} // namespace lumivane::service::test
