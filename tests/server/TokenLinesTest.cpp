#include "server/AccountFixture.h"

namespace lumivane::service::test {

using namespace std::chrono_literals;

namespace {

// A session has tokens of two lines once its login was extended, and the client keeps one.
class TokenLinesTest : public AccountTest {
protected:
    std::string extend() {
        clock().advance(1s);
        const auto extended = database().transact([&](soci::session& sql) {
            std::string session;
            sql << "SELECT id FROM sessions WHERE account_id = 'ada' AND ended_at IS NULL",
                soci::into(session);
            return SessionIssuer(settings).extend(sql, session, clock().now());
        });
        return std::get<IssuedLogin>(extended).tokens.refreshToken;
    }

    std::string next(const std::string& token, const std::string& operation = operationX) {
        clock().advance(1s);
        return refresh(token, operation).tokens.refreshToken;
    }

    std::string refusal(const std::string& token, const std::string& operation = operationX) {
        return refusalOf([&] { refresh(token, operation); });
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, TokenLinesTest, everyEngine(), engineName);

} // namespace

TEST_P(TokenLinesTest, ATokenFromBeforeEndsTheSessionOnceTheClientWentOn) {
    const std::string old = login().tokens.refreshToken;
    const std::string extended = extend();
    const std::string current = next(extended);

    clock().advance(10min);

    EXPECT_EQ(refusal(old), "unauthorized");
    EXPECT_EQ(endedAs("replayed"), 1);
    EXPECT_EQ(refusal(current), "unauthorized");
}

TEST_P(TokenLinesTest, ARequestThatWasUnderWayThenIsStillAnswered) {
    const std::string old = login().tokens.refreshToken;
    const std::string extended = extend();
    const std::string current = next(extended);

    clock().advance(10min - 2s);
    next(old, operationY);

    EXPECT_EQ(openSessions(), 1);
    EXPECT_EQ(refusal(current), "");
}

TEST_P(TokenLinesTest, WhatComesOfSuchARequestIsNoTokenOfTheClient) {
    const std::string old = login().tokens.refreshToken;
    const std::string extended = extend();
    next(extended);
    const std::string beside = next(old, operationY);

    clock().advance(10min - 1s);

    EXPECT_EQ(refusal(beside), "unauthorized");
    EXPECT_EQ(endedAs("replayed"), 1);
}

TEST_P(TokenLinesTest, AThiefWhoCameFirstIsNoticedToo) {
    const std::string stolen = login().tokens.refreshToken;
    const std::string extended = extend();
    const std::string thief = next(stolen, operationY);
    const std::string owner = next(extended);
    const std::string thiefAgain = next(thief);

    clock().advance(14min);
    EXPECT_EQ(refusal(owner), "");
    EXPECT_EQ(refusal(thiefAgain), "unauthorized");
    EXPECT_EQ(endedAs("replayed"), 1);
}

TEST_P(TokenLinesTest, ALostAnswerOfAnExtensionCostsNothing) {
    const std::string old = login().tokens.refreshToken;
    extend();

    clock().advance(std::chrono::days(59));
    const std::string second = next(old);
    clock().advance(std::chrono::days(59));
    const std::string third = next(second);
    clock().advance(1h);

    EXPECT_EQ(refusal(third), "");
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(TokenLinesTest, WhatWasLostOnTheWayIsNotGoodForever) {
    const std::string old = login().tokens.refreshToken;
    const std::string lost = extend();
    const std::string second = next(old);
    next(second);

    clock().advance(10min);

    EXPECT_EQ(refusal(lost), "unauthorized");
    EXPECT_EQ(endedAs("replayed"), 1);
}

TEST_P(TokenLinesTest, ARefreshThatRacesTheExtensionLeavesItsTokensGood) {
    const std::string old = login().tokens.refreshToken;
    const std::string extended = extend();
    // The client has cancelled it and never hears of what it gives.
    next(old);

    clock().advance(std::chrono::days(30));
    const std::string current = next(extended);
    clock().advance(1h);

    EXPECT_EQ(refusal(current), "");
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(TokenLinesTest, ALineBetweenTwoOthersIsLetGoToo) {
    login();
    const std::string between = extend();
    const std::string last = extend();
    next(last);

    clock().advance(10min);

    EXPECT_EQ(refusal(between), "unauthorized");
    EXPECT_EQ(endedAs("replayed"), 1);
}

TEST_P(TokenLinesTest, ARepeatRenewsNoAccessOnceTheClientWentOn) {
    const std::string old = login().tokens.refreshToken;
    const std::string extended = extend();
    const IssuedTokens first = refresh(old).tokens;
    next(extended);
    clock().advance(1h);

    EXPECT_EQ(refresh(old).tokens.accessExpiresAt, first.accessExpiresAt);
}

TEST_P(TokenLinesTest, AnAbandonedLineHoldsNoAccount) {
    login();
    const std::string extended = extend();
    next(extended);
    store().execute("UPDATE refresh_tokens SET expires_at = 1 WHERE superseded_at IS NULL");

    const auto other = signIn(database(), "ada", desktop, clock().now());

    EXPECT_TRUE(std::holds_alternative<IssuedLogin>(other));
}

TEST_P(TokenLinesTest, SessionsDoNotDisturbEachOther) {
    storeAccount(database(), "bob");
    const auto bob = std::get<IssuedLogin>(signIn(database(), "bob", tablet, clock().now()));
    login();
    const std::string extended = extend();
    next(extended);
    clock().advance(1h);

    EXPECT_EQ(refusal(bob.tokens.refreshToken), "");
}

} // namespace lumivane::service::test
