#include "server/AccountFixture.h"
#include "server/AccountReplica.h"

#include <gmock/gmock.h>

namespace lumivane::service::test {

using namespace std::chrono_literals;

namespace {

class AccountRoutesTest : public AccountTest {
protected:
    // Over a connection of its own.
    TestResponse ask(const std::string& bytes) { return TestClient(replica.port()).ask(bytes); }

    // The status, and the code of an envelope.
    std::string outcome(const std::string& bytes) {
        const TestResponse response = ask(bytes);
        if (response.status == 401) {
            EXPECT_EQ(response.headers.count("www-authenticate"), 1U);
        }
        return std::to_string(response.status) + " " + response.errorCode();
    }

    static std::string refreshBytes(const std::string& body) {
        return accountRequest("POST", "refresh", "", body);
    }

    AccountReplica replica{store().settings(), clock()};
};

INSTANTIATE_TEST_SUITE_P(Engines, AccountRoutesTest, everyEngine(), engineName);

} // namespace

TEST_P(AccountRoutesTest, RefreshGivesALoginAndTheSameOneAgain) {
    const IssuedLogin made = login();
    const std::string bytes = refreshBytes(refreshBody(made.tokens.refreshToken, operationX));

    const TestResponse first = ask(bytes);
    const TestResponse again = ask(bytes);

    EXPECT_EQ(first.status, 200);
    EXPECT_EQ(first.headers.at("content-type"), "application/json");
    EXPECT_EQ(textIn(first.body, "token_type"), "Bearer");
    EXPECT_EQ(textIn(first.body, "access_expires_at"), "2026-11-15T06:40:30.000Z");
    EXPECT_EQ(textIn(first.body, "refresh_expires_at"), "2027-01-14T06:25:30.000Z");
    EXPECT_EQ(again.body, first.body);
    EXPECT_EQ(ask(accountRequest("GET", "me", textIn(first.body, "access_token"))).status, 200);
}

TEST_P(AccountRoutesTest, RefreshRefusesByItsCodes) {
    const IssuedLogin made = login();
    EXPECT_EQ(outcome(refreshBytes("{")), "400 invalid_json");
    EXPECT_EQ(outcome(refreshBytes("{}")), "422 invalid_request");
    EXPECT_EQ(outcome(refreshBytes(refreshBody("unknown", operationX))), "401 unauthorized");
    EXPECT_EQ(outcome(refreshBytes(refreshBody("'; DROP TABLE sessions; --", operationX))),
              "401 unauthorized");
    EXPECT_EQ(outcome(refreshBytes(R"({"x":")" + std::string(20'000, 'x') + "\"}")).substr(0, 3),
              "413");
    EXPECT_EQ(outcome("POST /v1/auth/refresh HTTP/1.1\r\nHost: l\r\nContent-Length: 2\r\n\r\n{}")
                  .substr(0, 3),
              "415");
    EXPECT_EQ(outcome(accountRequest("GET", "refresh", "")).substr(0, 3), "405");

    ask(refreshBytes(refreshBody(made.tokens.refreshToken, operationX)));
    EXPECT_EQ(outcome(refreshBytes(refreshBody(made.tokens.refreshToken, operationY))),
              "401 unauthorized");
    EXPECT_EQ(endedAs("replayed"), 1);
}

TEST_P(AccountRoutesTest, RevokeIsAlwaysWithoutContent) {
    const IssuedLogin made = login();
    const auto revoke = [&](const std::string& body) {
        return ask(accountRequest("POST", "revoke", "", body));
    };
    const TestResponse response = revoke(revocationBody(made.tokens.refreshToken));

    EXPECT_EQ(response.status, 204);
    EXPECT_EQ(response.body, "");
    EXPECT_EQ(revoke(revocationBody(made.tokens.refreshToken)).status, 204);
    EXPECT_EQ(revoke(revocationBody("nobody knows it")).status, 204);
    EXPECT_EQ(revoke(revocationBody("")).status, 204);
    EXPECT_EQ(revoke("{}").errorCode(), "invalid_request");
    EXPECT_EQ(revoke("").errorCode(), "invalid_json");
    EXPECT_EQ(outcome(accountRequest("GET", "me", made.tokens.accessToken)), "401 unauthorized");
}

TEST_P(AccountRoutesTest, LogoutEndsTheSession) {
    const IssuedLogin made = login();
    const std::string bytes = accountRequest("POST", "logout", made.tokens.accessToken);
    const TestResponse response = ask(bytes);

    EXPECT_EQ(response.status, 204);
    EXPECT_EQ(response.body, "");
    EXPECT_EQ(endedAs("signed_out"), 1);
    EXPECT_EQ(outcome(bytes), "401 unauthorized");
    EXPECT_EQ(outcome(refreshBytes(refreshBody(made.tokens.refreshToken, operationX))),
              "401 unauthorized");
}

TEST_P(AccountRoutesTest, MeShowsTheAccount) {
    const IssuedLogin made = login();
    const TestResponse response = ask(accountRequest("GET", "me", made.tokens.accessToken));

    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, R"({"display_name":"Ada L.","verified_email":"ada@example.org",)"
                             R"("linked_providers":["github"],"handle":"ada"})");
}

TEST_P(AccountRoutesTest, MeKeepsOrderOfProvidersAndTheFirstVerifiedEmail) {
    const IssuedLogin made = login();
    store().execute("UPDATE identities SET email_verified = 0");
    store().execute("INSERT INTO identities VALUES "
                    "('google', 'g', 'ada', 'late@b.c', 'late@b.c', 1, 9)");
    store().execute("INSERT INTO identities VALUES "
                    "('facebook', 'f', 'ada', 'early@b.c', 'early@b.c', 1, 5)");
    store().execute("UPDATE accounts SET display_name = '\"><script>alert(1)</script>'");

    EXPECT_EQ(ask(accountRequest("GET", "me", made.tokens.accessToken)).body,
              R"({"display_name":"\"><script>alert(1)</script>","verified_email":"early@b.c",)"
              R"("linked_providers":["google","facebook","github"],"handle":"ada"})");
    store().execute("UPDATE identities SET email = NULL");
    EXPECT_EQ(ask(accountRequest("GET", "me", made.tokens.accessToken)).body.find("email"),
              std::string::npos);
}

TEST_P(AccountRoutesTest, DevicesListsEveryMachineOfTheAccount) {
    login(laptop);
    clock().advance(90s);
    const IssuedLogin made = takeover.takeOver(ticketFor(desktop), desktop);
    const TestResponse response = ask(accountRequest("GET", "devices", made.tokens.accessToken));

    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body,
              R"({"devices":[{"device_id":"desktop-identifier-2","name":"Büro",)"
              R"("kind":"desktop","os_version":"Debian 13","is_current":true,)"
              R"("last_seen_at":"2026-11-15T06:27:00.000Z",)"
              R"("registered_at":"2026-11-15T06:27:00.000Z"},)"
              R"({"device_id":"laptop-identifier-1","name":"Ada's laptop","kind":"laptop",)"
              R"("os_version":"Debian 12","is_current":false,)"
              R"("last_seen_at":"2026-11-15T06:25:30.000Z",)"
              R"("registered_at":"2026-11-15T06:25:30.000Z"}]})");
}

TEST_P(AccountRoutesTest, TakeoverMovesTheAccountAndTellsTheOldMachineEverywhere) {
    const IssuedLogin old = login(laptop);
    const std::string ticket = ticketFor(desktop);
    const TestResponse response =
        ask(accountRequest("POST", "takeover", ticket, takeoverBody(desktop)));

    EXPECT_EQ(response.status, 200);
    const std::string access = textIn(response.body, "access_token");
    EXPECT_EQ(ask(accountRequest("POST", "takeover", ticket, takeoverBody(desktop))).body,
              response.body);
    EXPECT_EQ(ask(accountRequest("GET", "devices", access)).status, 200);
    EXPECT_EQ(outcome(accountRequest("GET", "devices", old.tokens.accessToken)),
              "401 device_evicted");
    EXPECT_EQ(outcome(accountRequest("GET", "me", old.tokens.accessToken)), "401 device_evicted");
    EXPECT_EQ(outcome(accountRequest("POST", "logout", old.tokens.accessToken)),
              "401 device_evicted");
    EXPECT_EQ(outcome(refreshBytes(refreshBody(old.tokens.refreshToken, operationX))),
              "401 device_evicted");
    EXPECT_EQ(outcome(accountRequest("GET", "devices", ticket)), "403 insufficient_scope");
}

TEST_P(AccountRoutesTest, TakeoverRefusesByItsCodes) {
    const IssuedLogin old = login(laptop);
    const std::string ticket = ticketFor(desktop);
    const std::string body = takeoverBody(desktop);
    const auto attempt = [&](const std::string& token, const std::string& record) {
        return outcome(accountRequest("POST", "takeover", token, record));
    };

    EXPECT_EQ(attempt("", body), "401 unauthorized");
    EXPECT_EQ(attempt("unknown", body), "401 unauthorized");
    EXPECT_EQ(attempt(old.tokens.accessToken, body), "401 unauthorized");
    EXPECT_EQ(attempt(ticket, "{"), "400 invalid_json");
    EXPECT_EQ(attempt(ticket, "[]"), "422 invalid_request");
    EXPECT_EQ(attempt(ticket, "{}"), "400 device_required");
    EXPECT_EQ(attempt(ticket, R"({"device_id":1})"), "422 invalid_request");
    clock().advance(5min);
    EXPECT_EQ(attempt(ticket, body), "401 unauthorized");
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(AccountRoutesTest, WithoutATokenNothingOfASessionIsShown) {
    for (const auto& [method, name] :
         {std::pair("GET", "me"), std::pair("GET", "devices"), std::pair("POST", "logout")}) {
        EXPECT_EQ(outcome(accountRequest(method, name, "")), "401 unauthorized") << name;
        EXPECT_EQ(outcome(accountRequest(method, name, "wrong")), "401 unauthorized") << name;
    }
}

TEST_P(AccountRoutesTest, AnAccessTokenThatEndsExactlyNowHasExpired) {
    const IssuedLogin made = login();
    clock().set(made.tokens.accessExpiresAt);

    EXPECT_EQ(outcome(accountRequest("GET", "me", made.tokens.accessToken)), "401 unauthorized");
}

TEST_P(AccountRoutesTest, WithoutItsDatabaseEveryEndpointSaysSo) {
    const IssuedLogin made = login();
    const std::string ticket = ticketFor(desktop);
    const std::string& access = made.tokens.accessToken;
    store().breakDown();

    const std::string unavailable = "503 storage_unavailable";
    EXPECT_EQ(outcome(refreshBytes(refreshBody(made.tokens.refreshToken, operationX))),
              unavailable);
    EXPECT_EQ(
        outcome(accountRequest("POST", "revoke", "", revocationBody(made.tokens.refreshToken))),
        unavailable);
    EXPECT_EQ(outcome(accountRequest("GET", "me", access)), unavailable);
    EXPECT_EQ(outcome(accountRequest("GET", "devices", access)), unavailable);
    EXPECT_EQ(outcome(accountRequest("POST", "logout", access)), unavailable);
    EXPECT_EQ(outcome(accountRequest("POST", "takeover", ticket, takeoverBody(desktop))),
              unavailable);
    EXPECT_EQ(ask(accountRequest("GET", "me", access)).headers.count("retry-after"), 1U);
}

TEST_P(AccountRoutesTest, HostileTextsOfADeviceComeBackAsTheyWereAndBreakNothing) {
    login(laptop);
    DeviceRegistration hostile = desktop;
    hostile.identifier = "'); DELETE FROM accounts; --";
    hostile.name = "</script><img src=x onerror=alert(1)>\" OR 1=1; --";
    hostile.osVersion = "\xE2\x80\xAE%s%n${x}";
    const std::string ticket = ticketFor(hostile);
    const TestResponse response =
        ask(accountRequest("POST", "takeover", ticket, takeoverBody(hostile)));
    ASSERT_EQ(response.status, 200);

    const std::string list =
        ask(accountRequest("GET", "devices", textIn(response.body, "access_token"))).body;
    EXPECT_THAT(list, testing::HasSubstr(R"("device_id":"'); DELETE FROM accounts; --")"));
    EXPECT_THAT(list, testing::HasSubstr(R"(</script><img src=x onerror=alert(1)>\" OR 1=1; --)"));
    EXPECT_THAT(list, testing::HasSubstr("\xE2\x80\xAE%s%n${x}"));
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 1);
}

TEST_P(AccountRoutesTest, NothingOfAPersonGetsIntoTheLog) {
    const IssuedLogin made = login();
    ask(accountRequest("GET", "me", made.tokens.accessToken));
    const TestResponse response =
        ask(refreshBytes(refreshBody(made.tokens.refreshToken, operationX)));
    ask(refreshBytes(refreshBody("canary", operationY)));

    const std::string log = replica.log();
    EXPECT_THAT(log, testing::HasSubstr("refresh"));
    for (const std::string& secret :
         {made.tokens.accessToken, made.tokens.refreshToken, operationX, std::string("canary"),
          textIn(response.body, "access_token"), std::string("ada"), laptop.identifier}) {
        EXPECT_THAT(log, testing::Not(testing::HasSubstr(secret)));
    }
}

} // namespace lumivane::service::test
