#include "server/LoginFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivane::service::test {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// Logging in over the pages that stand in for the providers.
class LocalLoginTest : public LoginTest {
protected:
    LocalLoginTest() { start(); }

    TestResponse submit(TestBrowser& visitor, const ProgramLogin& login, TextFields fields) {
        fields.emplace_back("form_token", formTokenIn(visitor.get(login.path)));
        return visitor.post(login.path, fields);
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, LocalLoginTest, everyEngine(), engineName);

TEST_P(LocalLoginTest, EveryProviderIsThere) {
    const TestResponse response = program().ask("GET", "/v1/auth/providers", "");
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, R"({"providers":["google","facebook","github"]})");
}

TEST_P(LocalLoginTest, TheWholeWayEndsInALogin) {
    const TestResponse response = logIn("google", "Ada Lovelace", "ada@example.org");
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(textIn(response, "token_type"), "Bearer");
    const auto user = objectIn(response).at("user").as_object();
    EXPECT_EQ(user.at("display_name"), "Ada Lovelace");
    EXPECT_EQ(user.at("verified_email"), "ada@example.org");
    EXPECT_EQ(user.at("handle"), "ada-lovelace");
    EXPECT_EQ(user.at("linked_providers"), (boost::json::array{"google"}));
}

TEST_P(LocalLoginTest, ThePageLiesOnTheAddressThatWasAsked) {
    const TestResponse response =
        program().ask("POST", "/v1/auth/transactions",
                      R"({"provider":"github","intent":"sign_in","code_challenge_method":"S256",)"
                      R"("code_challenge":"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"})");
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(textIn(response, "authorization_url"),
              "http://127.0.0.1:" + std::to_string(server->port()) + "/v1/auth/login/" +
                  textIn(response, "transaction_id"));
    EXPECT_EQ(textIn(response, "expires_at"), "2026-11-15T06:35:30.000Z");
}

TEST_P(LocalLoginTest, ThePageIsMarkedAsLocalAndHasNoScript) {
    const ProgramLogin login = program().begin("google");
    const TestResponse page = browser().get(login.path);
    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.headers.at("content-type"), "text/html; charset=utf-8");
    EXPECT_EQ(page.headers.at("cache-control"), "no-store");
    EXPECT_THAT(page.headers.at("content-security-policy"),
                StartsWith("default-src 'none'; style-src 'sha256-"));
    EXPECT_THAT(page.headers.at("content-security-policy"),
                HasSubstr("form-action 'self' com.marnoth.lumivane.oauth:"));
    EXPECT_THAT(page.body, HasSubstr("Local login in place of Google"));
    EXPECT_THAT(page.body, Not(HasSubstr("<script")));
}

TEST_P(LocalLoginTest, TheWayBackIsARedirectWithALinkBehindIt) {
    const ProgramLogin login = program().begin("github");
    TestBrowser visitor = browser();
    const TestResponse response =
        submit(visitor, login, {{"name", "Ada"}, {"email", "ada@example.org"}});
    EXPECT_EQ(response.status, 302);
    EXPECT_THAT(response.headers.at("location"),
                StartsWith("com.marnoth.lumivane.oauth://callback?transaction_id=" +
                           login.transactionId + "&handoff_code="));
    EXPECT_EQ(redirectedValue(response, "handoff_code").size(), 43U);
    EXPECT_THAT(response.body, HasSubstr("Go back to Lumivane. You can close this page."));
    EXPECT_THAT(response.body, HasSubstr("href=\"com.marnoth.lumivane.oauth://callback?"
                                         "transaction_id=" +
                                         login.transactionId + "&amp;handoff_code="));
    EXPECT_TRUE(visitor.cookies.empty());
}

TEST_P(LocalLoginTest, CancelTellsTheProgramThatTheUserSaidNo) {
    const ProgramLogin login = program().begin("github");
    TestBrowser visitor = browser();
    const TestResponse response = submit(visitor, login, {{"action", "cancel"}});
    EXPECT_EQ(response.status, 302);
    EXPECT_EQ(response.headers.at("location"),
              "com.marnoth.lumivane.oauth://callback?transaction_id=" + login.transactionId +
                  "&error=access_denied");
    EXPECT_EQ(visitor.get(login.path).status, 410);
}

TEST_P(LocalLoginTest, WhatIsMissingIsAskedForAgainAndTheRestKept) {
    const ProgramLogin login = program().begin("github");
    TestBrowser visitor = browser();
    const TestResponse page =
        submit(visitor, login, {{"name", "<b>\"Ada\"</b>"}, {"email", "no address"}});
    EXPECT_EQ(page.status, 422);
    EXPECT_THAT(page.body, HasSubstr("Enter an email such as name@example.org."));
    EXPECT_THAT(page.body, HasSubstr("value=\"&lt;b&gt;&quot;Ada&quot;&lt;/b&gt;\""));
    EXPECT_THAT(page.body, Not(HasSubstr("<b>")));
    const TestResponse again = visitor.post(
        login.path,
        {{"form_token", formTokenIn(page)}, {"name", "Ada"}, {"email", "ada@example.org"}});
    EXPECT_EQ(again.status, 302);
}

TEST_P(LocalLoginTest, ANameThatTheAccountWouldCutIsNotTaken) {
    const ProgramLogin login = program().begin("github");
    TestBrowser visitor = browser();
    const TestResponse page =
        submit(visitor, login, {{"name", std::string(61, 'a')}, {"email", "ada@example.org"}});
    EXPECT_EQ(page.status, 422);
    EXPECT_THAT(page.body, HasSubstr("Use a name of at most 60 characters."));
    EXPECT_EQ(
        submit(visitor, login, {{"name", std::string(60, 'a')}, {"email", "a@b.example"}}).status,
        302);
}

TEST_P(LocalLoginTest, ARememberedNameIsOneButton) {
    TestBrowser visitor = browser();
    const ProgramLogin first = program().begin("github");
    submit(visitor, first,
           {{"name", "Ada <i>"}, {"email", "ada@example.org"}, {"remember", "yes"}});
    ASSERT_EQ(visitor.cookies.count("lumivane_local_identity"), 1U);

    const ProgramLogin second = program().begin("github");
    const TestResponse page = visitor.get(second.path);
    EXPECT_THAT(page.body, HasSubstr("Continue as Ada &lt;i&gt; (ada@example.org)"));
    const TestResponse response =
        visitor.post(second.path, {{"form_token", formTokenIn(page)}, {"action", "remembered"}});
    const TestResponse login =
        program().complete(second, redirectedValue(response, "handoff_code"));
    EXPECT_EQ(objectIn(login).at("user").as_object().at("display_name"), "Ada <i>");
}

TEST_P(LocalLoginTest, NotToBeRememberedForgetsWhoWas) {
    TestBrowser visitor = browser();
    submit(visitor, program().begin("github"),
           {{"name", "Ada"}, {"email", "ada@example.org"}, {"remember", "yes"}});
    submit(visitor, program().begin("github"), {{"name", "Bob"}, {"email", "bob@example.org"}});
    EXPECT_EQ(visitor.cookies.count("lumivane_local_identity"), 0U);
}

TEST_P(LocalLoginTest, AForgedMemoryIsNoName) {
    TestBrowser visitor = browser();
    for (const char* cookie : {"!!!", "bm9uZQ", "eyJuYW1lIjoiIiwiZW1haWwiOiJhQGIifQ"}) {
        visitor.cookies["lumivane_local_identity"] = cookie;
        const TestResponse page = visitor.get(program().begin("github").path);
        EXPECT_EQ(page.status, 200);
        EXPECT_THAT(page.body, Not(HasSubstr("Continue as")));
    }
}

TEST_P(LocalLoginTest, OnePersonIsOneAccountWhoeverVouches) {
    const auto handleOf = [](const TestResponse& response) {
        return objectIn(response).at("user").as_object().at("handle");
    };
    const TestResponse google = logIn("google", "Ada", "ada@example.org");
    const TestResponse github = logIn("github", "Ada L.", "ADA@example.org");
    EXPECT_EQ(handleOf(google), handleOf(github));
    EXPECT_EQ(objectIn(github).at("user").as_object().at("linked_providers"),
              (boost::json::array{"google", "github"}));
    // Nobody has verified this address.
    const TestResponse facebook = logIn("facebook", "Ada", "ada@example.org");
    EXPECT_NE(handleOf(google), handleOf(facebook));
    EXPECT_FALSE(objectIn(facebook).at("user").as_object().contains("verified_email"));
}

TEST_P(LocalLoginTest, WhoComesThroughAProxyIsNotBelieved) {
    const ProgramLogin login = program().begin("github");
    TestBrowser visitor = browser();
    visitor.forwardedFor = "192.0.2.1";
    EXPECT_EQ(visitor.get(login.path).status, 421);

    visitor.forwardedFor.clear();
    const TestResponse page = visitor.get(login.path);
    EXPECT_EQ(page.status, 200);
    visitor.forwardedFor = "127.0.0.1";
    const TextFields fields{{"form_token", formTokenIn(page)},
                            {"name", "Ada"},
                            {"email", "ada@example.org"},
                            {"action", "continue"}};
    EXPECT_EQ(visitor.post(login.path, fields).status, 421);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM login_transactions WHERE subject IS NULL"), 1);
}

TEST_P(LocalLoginTest, EveryFieldThatAProxyAddsGivesItAway) {
    for (const char* field : {"X-Forwarded-For: 192.0.2.1", "Forwarded: for=192.0.2.1",
                              "Via: 1.1 proxy.example", "X-Real-IP: 192.0.2.1"}) {
        const ProgramLogin login = program().begin("github");
        TestClient client(server->port());
        const TestResponse page = client.ask(
            "GET " + login.path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server->port()) +
            "\r\n" + field + "\r\n\r\n");
        EXPECT_EQ(page.status, 421) << field;
    }
}

TEST_P(LocalLoginTest, NothingOfAUserIsLogged) {
    logIn("google", "Canary Name", "canary@example.org");
    EXPECT_THAT(server->log(), HasSubstr("login_submit"));
    EXPECT_THAT(server->log(), Not(HasSubstr("anary")));
    EXPECT_THAT(server->log(), Not(HasSubstr("handoff")));
}

} // namespace lumivane::service::test
