#include "server/AccountFixture.h"

#include <atomic>
#include <thread>

namespace lumivane::service::test {

using namespace std::chrono_literals;

namespace {

class SessionIssuerTest : public AccountTest {
protected:
    std::variant<IssuedLogin, TakeoverOffer> attempt(const DeviceRegistration& device) {
        return signIn(database(), "ada", device, clock().now());
    }

    std::variant<IssuedLogin, TakeoverOffer, SessionOver> extend(const std::string& session) {
        return database().transact([&](soci::session& sql) {
            return SessionIssuer(settings).extend(sql, session, clock().now());
        });
    }

    std::string text(const std::string& query) {
        return database().read([&](soci::session& sql) {
            std::string value;
            sql << query, soci::into(value);
            return value;
        });
    }

    std::string openSession() { return text("SELECT id FROM sessions WHERE ended_at IS NULL"); }
};

INSTANTIATE_TEST_SUITE_P(Engines, SessionIssuerTest, everyEngine(), engineName);

} // namespace

TEST_P(SessionIssuerTest, TheFirstLoginMakesItsMachineTheHolder) {
    const IssuedLogin made = login(laptop);

    EXPECT_EQ(made.tokens.accessToken.size(), tokenLength);
    EXPECT_EQ(made.tokens.refreshToken.size(), tokenLength);
    EXPECT_NE(made.tokens.accessToken, made.tokens.refreshToken);
    EXPECT_EQ(made.tokens.accessExpiresAt, clock().now() + 15min);
    EXPECT_EQ(made.tokens.refreshExpiresAt, clock().now() + std::chrono::days(60));
    EXPECT_EQ(made.user.handle, "ada");
    EXPECT_EQ(made.user.displayName, "Ada L.");
    EXPECT_EQ(made.user.verifiedEmail, "ada@example.org");
    EXPECT_EQ(made.user.linkedProviders, std::vector{AuthProvider::github});
    EXPECT_EQ(text("SELECT device_id FROM accounts"), laptop.identifier);
    EXPECT_EQ(text("SELECT name FROM devices"), laptop.name);
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(SessionIssuerTest, NoTokenIsFoundInTheDatabase) {
    const IssuedLogin made = login(laptop);
    const std::string ticket = ticketFor(desktop);

    const auto has = [&](const char* table, const std::string& raw) {
        return store().number(std::string("SELECT COUNT(*) FROM ") + table + " WHERE hash = '" +
                              tokenHash(raw) + "'");
    };
    EXPECT_EQ(has("access_tokens", made.tokens.accessToken), 1);
    EXPECT_EQ(has("refresh_tokens", made.tokens.refreshToken), 1);
    EXPECT_EQ(has("takeover_tickets", ticket), 1);
    for (const auto& table : {"access_tokens", "refresh_tokens", "takeover_tickets"}) {
        for (const auto& raw : {made.tokens.accessToken, made.tokens.refreshToken, ticket}) {
            EXPECT_EQ(store().number(std::string("SELECT COUNT(*) FROM ") + table +
                                     " WHERE hash = '" + raw + "'"),
                      0);
        }
    }
}

TEST_P(SessionIssuerTest, AnotherMachineIsOfferedToMoveTheAccountAndNothingChanges) {
    login(laptop);
    clock().advance(3min);

    const auto offer = std::get<TakeoverOffer>(attempt(desktop));

    EXPECT_EQ(offer.ticket.size(), tokenLength);
    EXPECT_EQ(offer.expiresAt, clock().now() + 5min);
    EXPECT_EQ(offer.currentDevice.identifier, laptop.identifier);
    EXPECT_EQ(offer.currentDevice.name, laptop.name);
    EXPECT_EQ(offer.currentDevice.kind, "laptop");
    EXPECT_EQ(offer.currentDevice.osVersion, "Debian 12");
    EXPECT_EQ(offer.currentDevice.lastSeenAt, ManualWallClock::start);
    EXPECT_EQ(openSessions(), 1);
    EXPECT_EQ(text("SELECT device_id FROM accounts"), laptop.identifier);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM devices"), 1);
}

TEST_P(SessionIssuerTest, TheSameMachineReplacesItsOwnSession) {
    const IssuedLogin first = login(laptop);
    DeviceRegistration renamed = laptop;
    renamed.name = "New name";
    clock().advance(1h);
    login(renamed);

    EXPECT_EQ(endedAs("replaced"), 1);
    EXPECT_EQ(openSessions(), 1);
    EXPECT_EQ(text("SELECT name FROM devices"), "New name");
    EXPECT_EQ(store().number("SELECT registered_at FROM devices"),
              storedTime(ManualWallClock::start));
    EXPECT_EQ(store().number("SELECT last_seen_at FROM devices"), storedTime(clock().now()));
    EXPECT_EQ(refusalOf([&] { refresh(first.tokens.refreshToken); }), "unauthorized");
}

TEST_P(SessionIssuerTest, AHolderWithoutALiveTokenIsNoHolder) {
    login(laptop);
    clock().advance(std::chrono::days(60) - 1ms);
    EXPECT_TRUE(std::holds_alternative<TakeoverOffer>(attempt(desktop)));

    clock().advance(1ms);
    EXPECT_TRUE(std::holds_alternative<IssuedLogin>(attempt(desktop)));
    EXPECT_EQ(endedAs("expired"), 1);
    EXPECT_EQ(text("SELECT device_id FROM accounts"), desktop.identifier);
}

TEST_P(SessionIssuerTest, AHolderThatSignedOutLeavesTheAccountFree) {
    const IssuedLogin first = login(laptop);
    tokens.revoke(first.tokens.refreshToken);

    login(desktop);
    EXPECT_EQ(endedAs("revoked"), 1);
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(SessionIssuerTest, AHolderThatHasRefreshedIsStillTheHolder) {
    const IssuedLogin first = login(laptop);
    refresh(first.tokens.refreshToken);

    EXPECT_TRUE(std::holds_alternative<TakeoverOffer>(attempt(desktop)));
}

TEST_P(SessionIssuerTest, AnAccountThatDoesNotExistCannotBeSignedIn) {
    EXPECT_THROW(signIn(database(), "nobody", laptop, clock().now()), std::logic_error);
}

TEST_P(SessionIssuerTest, AccountsDoNotDisturbEachOther) {
    storeAccount(database(), "bob");
    login(laptop);

    EXPECT_TRUE(
        std::holds_alternative<IssuedLogin>(signIn(database(), "bob", laptop, clock().now())));
    EXPECT_EQ(openSessions(), 2);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM devices"), 2);
}

TEST_P(SessionIssuerTest, OfMachinesThatComeAtOnceOneWins) {
    const auto another = store().openAnother();
    for (int round = 0; round < 10; ++round) {
        const std::string account = "account" + std::to_string(round);
        storeAccount(database(), account);
        std::atomic<int> sessions = 0;
        const auto come = [&](Database& mine, const DeviceRegistration& device) {
            const auto outcome = signIn(mine, account, device, clock().now());
            sessions += std::holds_alternative<IssuedLogin>(outcome) ? 1 : 0;
        };
        std::jthread first([&] { come(database(), laptop); });
        std::jthread second([&] { come(*another, desktop); });
        std::jthread third([&] { come(*another, tablet); });
        first.join();
        second.join();
        third.join();
        ASSERT_EQ(sessions, 1);
    }
    EXPECT_EQ(openSessions(), 10);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM takeover_tickets"), 20);
}

TEST_P(SessionIssuerTest, ExtendingGivesFreshTokensAndLeavesTheSessionAsItIs) {
    const IssuedLogin first = login(laptop);
    clock().advance(1min);

    const auto second = std::get<IssuedLogin>(extend(openSession()));

    EXPECT_NE(second.tokens.refreshToken, first.tokens.refreshToken);
    EXPECT_EQ(second.tokens.accessExpiresAt, clock().now() + 15min);
    EXPECT_EQ(openSessions(), 1);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM refresh_tokens"), 2);
}

TEST_P(SessionIssuerTest, ExtendingAnEvictedSessionNamesTheHolderAndOpensNothing) {
    login(laptop);
    const std::string session = openSession();
    takeover.takeOver(ticketFor(desktop), desktop);

    const auto offer = std::get<TakeoverOffer>(extend(session));

    EXPECT_EQ(offer.currentDevice.identifier, desktop.identifier);
    EXPECT_EQ(refusalOf([&] { takeover.takeOver(offer.ticket, laptop); }), "unauthorized");
}

TEST_P(SessionIssuerTest, ExtendingASessionThatIsOverGivesNothing) {
    login(laptop);
    const std::string session = openSession();
    const IssuedLogin second = takeover.takeOver(ticketFor(desktop), desktop);
    tokens.revoke(second.tokens.refreshToken);

    EXPECT_TRUE(std::get<SessionOver>(extend(session)).wasEvicted);
    EXPECT_FALSE(std::get<SessionOver>(extend("no such session")).wasEvicted);
    login(laptop);
    const std::string own = openSession();
    login(laptop);
    EXPECT_FALSE(std::get<SessionOver>(extend(own)).wasEvicted);
}

} // namespace lumivane::service::test
