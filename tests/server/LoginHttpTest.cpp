#include "server/LoginFixture.h"
#include "server/accounts/Tokens.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

namespace lumivane::service::test {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// What people and programs do to a login that they should not.
class LoginHttpTest : public LoginTest {
protected:
    LoginHttpTest() { start(); }

    static TextFields ada(const std::string& token) {
        return {{"form_token", token}, {"name", "Ada"}, {"email", "ada@example.org"}};
    }

    static void expectPage(const TestResponse& response, int status, const std::string& words) {
        EXPECT_EQ(response.status, status);
        EXPECT_EQ(response.headers.at("content-type"), "text/html; charset=utf-8");
        EXPECT_THAT(response.body, AllOf(StartsWith("<!DOCTYPE html>"), HasSubstr(words)));
        EXPECT_EQ(response.headers.count("location"), 0U);
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, LoginHttpTest, everyEngine(), engineName);

TEST_P(LoginHttpTest, ALoginEndsExactlyAfterTenMinutes) {
    const ProgramLogin login = program().begin("google");
    TestBrowser visitor = browser();
    clock().advance(std::chrono::minutes(10) - std::chrono::milliseconds(1));
    const TestResponse page = visitor.get(login.path);
    EXPECT_EQ(page.status, 200);
    clock().advance(std::chrono::milliseconds(1));
    expectPage(visitor.get(login.path), 410, "This login has expired");
    expectPage(visitor.post(login.path, ada(formTokenIn(page))), 410, "This login has expired");
}

TEST_P(LoginHttpTest, AnUnknownLoginIsAPageAndNoJson) {
    expectPage(browser().get("/v1/auth/login/AAAAAAAAAAAAAAAAAAAAAA"), 410, "expired");
    expectPage(browser().get("/v1/auth/login/a.b~c"), 410, "expired");
}

TEST_P(LoginHttpTest, TheFirstBrowserHasTheLogin) {
    const ProgramLogin login = program().begin("google");
    TestBrowser first = browser();
    TestBrowser second = browser();
    const std::string token = formTokenIn(first.get(login.path));
    expectPage(second.get(login.path), 403, "This login belongs to another browser");
    expectPage(second.post(login.path, ada(token)), 403, "belongs to another browser");
    EXPECT_EQ(first.get(login.path).status, 200);
    EXPECT_EQ(first.post(login.path, ada(token)).status, 302);
}

TEST_P(LoginHttpTest, ACookieOfSomebodyElsesChoiceIsNotTaken) {
    const ProgramLogin login = program().begin("google");
    TestBrowser visitor = browser();
    const std::string name = "lumivane_login_" + login.transactionId;
    visitor.cookies[name] = "planted";
    visitor.get(login.path);
    EXPECT_EQ(visitor.cookies.at(name).size(), 43U);
}

TEST_P(LoginHttpTest, LookingAtAPageTakesNoLogin) {
    const ProgramLogin login = program().begin("google");
    const TestResponse seen = browser().send("HEAD " + login.path, "");
    EXPECT_EQ(seen.status, 200);
    EXPECT_EQ(seen.headers.at("set-cookie"), "");
    EXPECT_EQ(browser().get(login.path).status, 200);
}

TEST_P(LoginHttpTest, TheCookieIsOutOfReach) {
    const ProgramLogin login = program().begin("google");
    const TestResponse page = browser().get(login.path);
    EXPECT_THAT(page.headers.at("set-cookie"),
                AllOf(StartsWith("lumivane_login_" + login.transactionId + "="),
                      HasSubstr("; Path=/v1/auth; Max-Age=600; HttpOnly; SameSite=Lax")));
    EXPECT_THAT(page.headers.at("set-cookie"), Not(HasSubstr("Secure")));
}

TEST_P(LoginHttpTest, AFormFromElsewhereIsNotTaken) {
    const ProgramLogin login = program().begin("google");
    TestBrowser visitor = browser();
    const std::string token = formTokenIn(visitor.get(login.path));
    const std::string other = formTokenIn(visitor.get(program().begin("google").path));
    for (const std::string& forged : {std::string(), std::string("x"), other}) {
        expectPage(visitor.post(login.path, ada(forged)), 400, "not understood");
    }
    expectPage(visitor.post(login.path, {{"name", "Ada"}}), 400, "not understood");
    EXPECT_EQ(visitor.post(login.path, ada(token)).status, 302);
}

TEST_P(LoginHttpTest, AFormThatIsOutOfOrderIsNotTaken) {
    const ProgramLogin login = program().begin("google");
    TestBrowser visitor = browser();
    const std::string token = formTokenIn(visitor.get(login.path));
    const std::string good = "form_token=" + token + "&email=ada%40example.org&name=";
    for (const char* name : {"%00", "%FF", "%", "Ada&name=Bob"}) {
        expectPage(visitor.send("POST " + login.path, good + name), 400, "not understood");
    }
}

TEST_P(LoginHttpTest, AFinishedLoginCannotBeFinishedAgain) {
    const ProgramLogin login = program().begin("google");
    TestBrowser visitor = browser();
    const std::string token = formTokenIn(visitor.get(login.path));
    const auto cookies = visitor.cookies;
    EXPECT_EQ(visitor.post(login.path, ada(token)).status, 302);
    visitor.cookies = cookies;
    expectPage(visitor.post(login.path, ada(token)), 410, "This login is already finished");
    expectPage(visitor.get(login.path), 410, "This login is already finished");
}

TEST_P(LoginHttpTest, OfTwoFormsSentAtOnceOneCounts) {
    const ProgramLogin login = program().begin("google");
    TestBrowser visitor = browser();
    const std::string token = formTokenIn(visitor.get(login.path));
    std::vector<std::future<int>> answers;
    for (int i = 0; i < 6; ++i) {
        answers.push_back(std::async(std::launch::async, [visitor, login, token]() mutable {
            return visitor.post(login.path, ada(token)).status;
        }));
    }
    int redirects = 0;
    for (auto& answer : answers) {
        redirects += answer.get() == 302 ? 1 : 0;
    }
    EXPECT_EQ(redirects, 1);
}

TEST_P(LoginHttpTest, NobodyIsLedAnywhereElse) {
    const ProgramLogin login = program().begin("google");
    TestBrowser visitor = browser();
    const std::string more = "?next=https://evil.example&redirect_uri=https://evil.example";
    const TestResponse page = visitor.get(login.path + more);
    EXPECT_THAT(page.body, Not(HasSubstr("evil")));
    TextFields fields = ada(formTokenIn(page));
    fields.emplace_back("redirect_uri", "https://evil.example");
    const TestResponse response = visitor.post(login.path + more, fields);
    EXPECT_THAT(response.headers.at("location"),
                StartsWith("com.marnoth.lumivane.oauth://callback?"));
    EXPECT_THAT(response.headers.at("location"), Not(HasSubstr("evil")));
}

TEST_P(LoginHttpTest, ANameThatLeadsHereIsNotTheService) {
    const ProgramLogin login = program().begin("google");
    for (const char* host : {"rebound.example", "127.0.0.1.example", "127.0.0.1@evil.example",
                             "evil.example:80", "127.0.0.1/x"}) {
        TestBrowser visitor = browser();
        visitor.host = host;
        expectPage(visitor.get(login.path), 421, "not the service");
    }
    TestClient client(server->port());
    const TestResponse response =
        client.ask("POST /v1/auth/transactions HTTP/1.1\r\nHost: rebound.example\r\n"
                   "Content-Type: application/json\r\nContent-Length: 139\r\n\r\n"
                   R"({"provider":"github","intent":"sign_in","code_challenge_method":"S256",)"
                   R"("code_challenge":"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"})"
                   "       ");
    EXPECT_EQ(response.status, 421);
    EXPECT_EQ(response.errorCode(), "misdirected_request");
}

TEST_P(LoginHttpTest, LocalPagesHaveNoCallback) {
    const ProgramLogin login = program().begin("google");
    TestBrowser visitor = browser();
    visitor.get(login.path);
    for (const char* query : {"", "?code=x", "?state=..", "?state=%00"}) {
        expectPage(visitor.get("/v1/auth/callback/google" + std::string(query)), 400,
                   "not understood");
    }
    expectPage(visitor.get("/v1/auth/callback/google?code=x&state=" + login.transactionId + ".y"),
               400, "not understood");
}

TEST_P(LoginHttpTest, ADatabaseThatIsGoneIsSaidInWords) {
    const ProgramLogin login = program().begin("google");
    store().execute("ALTER TABLE login_transactions RENAME TO hidden");
    expectPage(browser().get(login.path), 503, "Login is temporarily unavailable");
    const TestResponse response = program().complete(login, makeToken());
    EXPECT_EQ(response.status, 503);
    EXPECT_EQ(response.errorCode(), "storage_unavailable");
}

TEST_P(LoginHttpTest, TooManyLoginsAreSaidInWords) {
    limiter = std::make_shared<RateLimiter>(2, [] { return MonotonicTime(); });
    start();
    const ProgramLogin login = program().begin("google");
    EXPECT_EQ(browser().get(login.path).status, 200);
    const TestResponse page = browser().get(login.path);
    expectPage(page, 429, "Wait 30 s");
    EXPECT_EQ(page.headers.at("retry-after"), "30");
    EXPECT_EQ(program().ask("POST", "/v1/auth/transactions", "{}").errorCode(), "rate_limited");
}

TEST_P(LoginHttpTest, AFormInAnotherFormIsRefusedInWords) {
    const ProgramLogin login = program().begin("google");
    expectPage(program().ask("POST", login.path, "{}"), 415, "cannot take this request");
}

TEST_P(LoginHttpTest, BodiesAreJudged) {
    const auto code = [this](const std::string& path, const std::string& body) {
        const TestResponse response = program().ask("POST", path, body);
        return std::to_string(response.status) + " " + response.errorCode();
    };
    const std::string start = R"({"provider":"google","intent":"sign_in",)";
    const std::string challenge = R"("code_challenge":"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw)";
    for (const std::string& body : {start + challenge + R"(-c","code_challenge_method":"S256"})",
                                    start + challenge + R"(-cM=","code_challenge_method":"S256"})",
                                    start + challenge + R"(+cM","code_challenge_method":"S256"})",
                                    start + challenge + R"(-cM","code_challenge_method":"plain"})",
                                    start + challenge + R"(-cM"})",
                                    R"({"provider":"apple","intent":"sign_in"})" + std::string(),
                                    R"({"provider":7})" + std::string(), std::string("[]")}) {
        EXPECT_EQ(code("/v1/auth/transactions", body), "422 invalid_request") << body;
    }
    EXPECT_EQ(code("/v1/auth/transactions", "{"), "400 invalid_json");
    EXPECT_EQ(code("/v1/auth/transactions", R"({"provider":"google","provider":"github"})"),
              "400 invalid_json");
    EXPECT_EQ(code("/v1/auth/transactions", std::string(20000, ' ')), "413 payload_too_large");
    EXPECT_EQ(code("/v1/auth/complete", "{}"), "422 invalid_request");
    EXPECT_EQ(code("/v1/auth/complete",
                   R"({"transaction_id":"' OR 1=1 --","handoff_code":"x","code_verifier":"y"})"),
              "422 invalid_request");
}

TEST_P(LoginHttpTest, OnlyALoginCanLinkConfirmUnlinkAndDelete) {
    const std::string rest =
        R"("code_challenge":"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM","code_challenge_method":"S256"})";
    for (const char* intent : {"link", "delete_reauth"}) {
        const std::string body =
            R"({"provider":"google","intent":")" + std::string(intent) + "\"," + rest;
        const TestResponse response = program().ask("POST", "/v1/auth/transactions", body);
        EXPECT_EQ(response.status, 401);
        EXPECT_EQ(response.errorCode(), "unauthorized");
        EXPECT_THAT(response.headers.at("www-authenticate"), StartsWith("Bearer"));
    }
    EXPECT_EQ(program().ask("DELETE", "/v1/auth/identities/google", "").status, 401);
    EXPECT_EQ(program().ask("DELETE", "/v1/account", "{}").status, 401);
    EXPECT_EQ(program().ask("DELETE", "/v1/auth/identities/google", "", makeToken()).status, 401);
}

TEST_P(LoginHttpTest, MarkupAndSqlInANameStayText) {
    const std::string name = "Robert'); DROP TABLE accounts;-- <script>alert(1)</script>";
    const TestResponse login = logIn("google", name, "bobby@example.org");
    ASSERT_EQ(login.status, 200);
    EXPECT_EQ(objectIn(login).at("user").as_object().at("display_name"), boost::json::string(name));
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 1);
}

} // namespace lumivane::service::test
