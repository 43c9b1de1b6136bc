#include "server/AccountFixture.h"
#include "server/accounts/ExpiredRows.h"
#include "server/accounts/SessionAuthorizer.h"

#include <atomic>
#include <mutex>
#include <set>
#include <thread>

namespace lumivane::service::test {

using namespace std::chrono_literals;

namespace {

class TokenExchangeTest : public AccountTest {
protected:
    ~TokenExchangeTest() override { m_pool.join(); }

    long long refreshTokens() { return store().number("SELECT COUNT(*) FROM refresh_tokens"); }

    bool isLetIn(const std::string& accessToken) {
        SessionAuthorizer authorizer(database(), clock(), m_pool);
        return std::holds_alternative<Principal>(authorizer.judge(accessToken));
    }

private:
    boost::asio::thread_pool m_pool{1};
};

INSTANTIATE_TEST_SUITE_P(Engines, TokenExchangeTest, everyEngine(), engineName);

bool isSame(const IssuedTokens& left, const IssuedTokens& right) {
    return left.accessToken == right.accessToken && left.refreshToken == right.refreshToken &&
           left.accessExpiresAt == right.accessExpiresAt &&
           left.refreshExpiresAt == right.refreshExpiresAt;
}

} // namespace

TEST_P(TokenExchangeTest, ATokenIsExchangedForNewOnes) {
    const IssuedLogin first = login();
    clock().advance(10min);

    const IssuedLogin second = refresh(first.tokens.refreshToken);

    EXPECT_NE(second.tokens.accessToken, first.tokens.accessToken);
    EXPECT_NE(second.tokens.refreshToken, first.tokens.refreshToken);
    EXPECT_EQ(second.tokens.refreshToken.size(), tokenLength);
    EXPECT_EQ(second.tokens.accessExpiresAt, clock().now() + 15min);
    EXPECT_EQ(second.tokens.refreshExpiresAt, clock().now() + std::chrono::days(60));
    EXPECT_EQ(second.user, first.user);
    EXPECT_EQ(openSessions(), 1);
    EXPECT_EQ(refreshTokens(), 2);
    EXPECT_EQ(store().number("SELECT last_seen_at FROM devices"), storedTime(clock().now()));
}

TEST_P(TokenExchangeTest, ARepeatedPairGivesTheSameByteForByteWhileTheAccessTokenLasts) {
    const IssuedLogin first = login();
    const IssuedLogin second = refresh(first.tokens.refreshToken);
    clock().advance(13min - 1ms);

    const IssuedLogin again = refresh(first.tokens.refreshToken);

    EXPECT_TRUE(isSame(again.tokens, second.tokens));
    EXPECT_EQ(refreshTokens(), 2);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM access_tokens"), 2);
}

TEST_P(TokenExchangeTest, ALateRepeatGivesTheSameTokensAndRenewsTheAccess) {
    const IssuedLogin first = login();
    const IssuedLogin second = refresh(first.tokens.refreshToken);
    for (const std::chrono::milliseconds wait :
         {std::chrono::milliseconds(13min), std::chrono::milliseconds(1h),
          std::chrono::milliseconds(std::chrono::days(57))}) {
        clock().advance(wait);
        deleteExpiredRows(database(), clock().now());

        const IssuedLogin again = refresh(first.tokens.refreshToken);

        EXPECT_EQ(again.tokens.accessToken, second.tokens.accessToken);
        EXPECT_EQ(again.tokens.refreshToken, second.tokens.refreshToken);
        EXPECT_EQ(again.tokens.refreshExpiresAt, second.tokens.refreshExpiresAt);
        EXPECT_EQ(again.tokens.accessExpiresAt, clock().now() + 15min);
        EXPECT_TRUE(isLetIn(again.tokens.accessToken));
        EXPECT_TRUE(isSame(refresh(first.tokens.refreshToken).tokens, again.tokens));
    }
    EXPECT_EQ(refreshTokens(), 2);
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(TokenExchangeTest, ARepeatRenewsNothingOnceTheSessionHasGoneOn) {
    const IssuedLogin first = login();
    const IssuedLogin second = refresh(first.tokens.refreshToken);
    refresh(second.tokens.refreshToken, operationY);
    clock().advance(1h);

    EXPECT_TRUE(isSame(refresh(first.tokens.refreshToken).tokens, second.tokens));
    EXPECT_FALSE(isLetIn(second.tokens.accessToken));
}

TEST_P(TokenExchangeTest, ARepeatedPairGivesTheSameOnAnotherReplica) {
    const IssuedLogin first = login();
    const IssuedLogin second = refresh(first.tokens.refreshToken);
    const auto another = store().openAnother();
    TokenExchange replica(*another, TokenDerivation::load(*another), clock(), settings);

    EXPECT_TRUE(
        isSame(replica.refresh({first.tokens.refreshToken, operationX}).tokens, second.tokens));
}

TEST_P(TokenExchangeTest, ARepeatedPairShowsTheAccountAsItIsNow) {
    const IssuedLogin first = login();
    refresh(first.tokens.refreshToken);
    store().execute("UPDATE accounts SET display_name = 'Renamed'");

    EXPECT_EQ(refresh(first.tokens.refreshToken).user.displayName, "Renamed");
}

TEST_P(TokenExchangeTest, AnExchangedTokenUnderAnotherOperationEndsTheWholeSession) {
    const IssuedLogin first = login();
    const IssuedLogin second = refresh(first.tokens.refreshToken, operationX);

    EXPECT_EQ(refusalOf([&] { refresh(first.tokens.refreshToken, operationY); }), "unauthorized");

    EXPECT_EQ(endedAs("replayed"), 1);
    EXPECT_EQ(refusalOf([&] { refresh(second.tokens.refreshToken, operationY); }), "unauthorized");
    EXPECT_EQ(refusalOf([&] { refresh(first.tokens.refreshToken, operationX); }), "unauthorized");
    EXPECT_EQ(refreshTokens(), 2);
}

TEST_P(TokenExchangeTest, ReplayOfATokenFarBackEndsTheSessionAsWell) {
    IssuedLogin current = login();
    const std::string oldest = current.tokens.refreshToken;
    for (int i = 0; i < 5; ++i) {
        current = refresh(current.tokens.refreshToken);
    }

    EXPECT_EQ(refusalOf([&] { refresh(oldest, operationY); }), "unauthorized");
    EXPECT_EQ(refusalOf([&] { refresh(current.tokens.refreshToken); }), "unauthorized");
    EXPECT_EQ(openSessions(), 0);
}

TEST_P(TokenExchangeTest, ATokenThatEndsExactlyNowHasExpired) {
    const IssuedLogin first = login();
    clock().set(first.tokens.refreshExpiresAt);
    EXPECT_EQ(refusalOf([&] { refresh(first.tokens.refreshToken); }), "unauthorized");
    EXPECT_EQ(refreshTokens(), 1);

    clock().set(first.tokens.refreshExpiresAt - 1ms);
    EXPECT_EQ(refusalOf([&] { refresh(first.tokens.refreshToken); }), "");
}

TEST_P(TokenExchangeTest, AnExchangeKeepsItsExpiriesWhenTheClockJumps) {
    const IssuedLogin first = login();
    const IssuedLogin second = refresh(first.tokens.refreshToken);
    clock().set(ManualWallClock::start - std::chrono::days(3));

    EXPECT_TRUE(isSame(refresh(first.tokens.refreshToken).tokens, second.tokens));
    EXPECT_EQ(refresh(second.tokens.refreshToken).tokens.accessExpiresAt, clock().now() + 15min);
}

TEST_P(TokenExchangeTest, WhatIsNoTokenIsUnauthorized) {
    const IssuedLogin made = login();
    const std::string ticket = ticketFor(desktop);
    const std::vector<std::string> wrong{
        "",
        "x",
        made.tokens.accessToken,
        ticket,
        tokenHash(made.tokens.refreshToken),
        made.tokens.refreshToken + " ",
        " " + made.tokens.refreshToken,
        made.tokens.refreshToken.substr(1),
        std::string(tokenLength, 'A'),
        std::string(4096, 'A'),
        "' OR '1'='1' -- aaaaaaaaaaaaaaaaaaaaaaaaaaa",
        std::string(tokenLength, '\0'),
    };
    for (const std::string& token : wrong) {
        EXPECT_EQ(refusalOf([&] { refresh(token); }), "unauthorized") << token;
    }
    EXPECT_EQ(openSessions(), 1);
    EXPECT_EQ(refreshTokens(), 1);
}

TEST_P(TokenExchangeTest, ManyAtOnceWithOnePairAreOneExchange) {
    const IssuedLogin first = login();
    const auto another = store().openAnother();
    TokenExchange replica(*another, TokenDerivation::load(*another), clock(), settings);
    std::set<std::string> answers;
    std::mutex mutex;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 12; ++i) {
            threads.emplace_back([&, i] {
                TokenExchange& mine = i % 2 == 0 ? tokens : replica;
                const IssuedLogin made = mine.refresh({first.tokens.refreshToken, operationX});
                const std::lock_guard lock(mutex);
                answers.insert(made.tokens.accessToken + made.tokens.refreshToken);
            });
        }
    }

    EXPECT_EQ(answers.size(), 1U);
    EXPECT_EQ(refreshTokens(), 2);
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(TokenExchangeTest, TwoOperationsOnOneTokenAtOnceNeverBothSucceed) {
    const auto another = store().openAnother();
    TokenExchange replica(*another, TokenDerivation::load(*another), clock(), settings);
    for (int round = 0; round < 10; ++round) {
        const std::string token = login().tokens.refreshToken;
        std::atomic<int> successes = 0;
        const auto race = [&](TokenExchange& mine, const std::string& operation) {
            successes += refusalOf([&] { mine.refresh({token, operation}); }).empty() ? 1 : 0;
        };
        std::jthread first([&] { race(tokens, operationX); });
        std::jthread second([&] { race(replica, operationY); });
        first.join();
        second.join();
        ASSERT_EQ(successes, 1);
        ASSERT_EQ(openSessions(), 0);
    }
}

TEST_P(TokenExchangeTest, RevokingEndsTheSessionByAnyOfItsRefreshTokens) {
    const IssuedLogin first = login();
    const IssuedLogin second = refresh(first.tokens.refreshToken);

    tokens.revoke(first.tokens.refreshToken);

    EXPECT_EQ(endedAs("revoked"), 1);
    EXPECT_EQ(refusalOf([&] { refresh(second.tokens.refreshToken); }), "unauthorized");
    tokens.revoke(first.tokens.refreshToken);
    EXPECT_EQ(endedAs("revoked"), 1);
}

TEST_P(TokenExchangeTest, RevokingWhatNobodyKnowsDoesNothing) {
    const IssuedLogin made = login();
    for (const std::string& token : {std::string(), std::string(tokenLength, 'B'),
                                     made.tokens.accessToken, std::string(100'000, 'x')}) {
        tokens.revoke(token);
    }
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(TokenExchangeTest, AnEvictedSessionIsToldSo) {
    const IssuedLogin first = login(laptop);
    takeover.takeOver(ticketFor(desktop), desktop);

    EXPECT_EQ(refusalOf([&] { refresh(first.tokens.refreshToken); }), "device_evicted");
    EXPECT_EQ(endedAs("evicted"), 1);
}

TEST_P(TokenExchangeTest, ADeletedAccountHasNoTokens) {
    const IssuedLogin first = login();
    store().execute("DELETE FROM accounts");

    EXPECT_EQ(refusalOf([&] { refresh(first.tokens.refreshToken); }), "unauthorized");
}

} // namespace lumivane::service::test
