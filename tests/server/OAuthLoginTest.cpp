#include "server/LoginFixture.h"
#include "server/ScriptedServer.h"
#include "server/TokenMaker.h"
#include "server/http/FormFields.h"
#include "server/login/LoginCrypto.h"
#include "server/login/OAuthProviders.h"

#include <boost/json/serialize.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivane::service::test {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace json = boost::json;

/// Logging in at providers that play by a script.
class OAuthLoginTest : public LoginTest {
protected:
    OAuthLoginTest() {
        for (const AuthProvider provider : allProviders) {
            ProviderSettings one;
            one.provider = provider;
            one.clientId = "client 1";
            one.clientSecret = "secret&1";
            one.authorizationUrl = remote.url("/authorize?tenant=1");
            one.tokenUrl = remote.url("/token");
            one.userUrl = remote.url("/user");
            one.emailsUrl = remote.url("/emails");
            one.issuer = "https://issuer.example";
            one.keysUrl = remote.url("/keys");
            settings.providers.push_back(one);
        }
        remote.answer("/token", 200, R"({"access_token":"at-1","token_type":"bearer"})");
    }

    /// Begins a login and opens it in `visitor`: the fields of the provider's address.
    FormFields open(TestBrowser& visitor, const ProgramLogin& login) {
        const TestResponse response = visitor.get(login.path);
        EXPECT_EQ(response.status, 303);
        address = response.headers.at("location");
        return FormFields::decode(queryOf(address)).value();
    }

    /// The browser comes back with a code.
    TestResponse comeBack(TestBrowser& visitor, const std::string& provider,
                          const std::string& query) {
        return visitor.get("/v1/auth/callback/" + provider + "?" + query);
    }

    /// The whole way to the program.
    TestResponse logInAt(const std::string& provider) {
        TestBrowser visitor = browser();
        const ProgramLogin login = program().begin(provider);
        const FormFields asked = open(visitor, login);
        if (prepare) {
            prepare(asked);
        }
        const TestResponse back =
            comeBack(visitor, provider, "code=c-1&state=" + std::string(*asked.find("state")));
        lastError = redirectedValue(back, "error");
        return program().complete(login, redirectedValue(back, "handoff_code"));
    }

    static json::object userOf(const TestResponse& response) {
        const json::object object = objectIn(response);
        const json::value* user = object.if_contains("user");
        return user == nullptr ? json::object() : user->as_object();
    }

    void answerAsGitHub() {
        remote.answer("/user", 200, R"({"id":583231,"login":"octo","name":"Octo Cat"})");
        remote.answer("/emails", 200,
                      R"([{"email":"old@example.org","primary":false,"verified":true},)"
                      R"({"email":"octo@example.org","primary":true,"verified":true}])");
    }

    /// A token as Google would send it, with changed claims.
    void answerAsGoogle(const json::object& changes) {
        prepare = [this, changes](const FormFields& asked) {
            json::object claims;
            claims["iss"] = "https://issuer.example";
            claims["aud"] = "client 1";
            claims["sub"] = "g-1";
            claims["nonce"] = std::string(asked.find("nonce").value_or(""));
            claims["email"] = "ada@example.org";
            claims["email_verified"] = true;
            claims["name"] = "Ada";
            const std::int64_t now = storedTime(clock().now()) / 1000;
            claims["iat"] = now;
            claims["exp"] = now + 300;
            for (const auto& change : changes) {
                claims[change.key()] = change.value();
                if (change.value().is_null()) {
                    claims.erase(change.key());
                }
            }
            json::object tokens;
            tokens["access_token"] = "at-1";
            tokens["id_token"] = maker.sign(claims);
            remote.answer("/token", 200, json::serialize(tokens));
            remote.answer("/keys", 200, maker.keySet());
        };
    }

    ScriptedServer remote;
    TokenMaker maker{TokenMaker::Kind::rsa};
    std::function<void(const FormFields&)> prepare;
    std::string address;
    std::string lastError;
};

INSTANTIATE_TEST_SUITE_P(Engines, OAuthLoginTest, testing::Values(Engine::sqlite), engineName);

TEST_P(OAuthLoginTest, OnlyWhatIsConfiguredIsThere) {
    settings.providers.erase(settings.providers.begin());
    settings.providers.pop_back();
    start();
    EXPECT_EQ(program().ask("GET", "/v1/auth/providers", "").body, R"({"providers":["facebook"]})");
    const ProgramLogin refused = program().begin("google");
    EXPECT_EQ(refused.transactionId, "");
}

TEST_P(OAuthLoginTest, TheBrowserIsSentToTheProvider) {
    start();
    TestBrowser visitor = browser();
    const ProgramLogin login = program().begin("github");
    const FormFields asked = open(visitor, login);
    EXPECT_THAT(address, StartsWith(remote.url("/authorize?tenant=1&response_type=code")));
    EXPECT_EQ(asked.find("client_id"), "client 1");
    EXPECT_EQ(asked.find("scope"), "read:user user:email");
    EXPECT_EQ(asked.find("code_challenge_method"), "S256");
    EXPECT_EQ(asked.find("code_challenge")->size(), 43U);
    EXPECT_EQ(asked.find("redirect_uri"),
              "http://127.0.0.1:" + std::to_string(server->port()) + "/v1/auth/callback/github");
    EXPECT_THAT(std::string(*asked.find("state")), StartsWith(login.transactionId + "."));
    // A reload of the page goes on with the same login.
    EXPECT_EQ(open(visitor, login).find("state"), asked.find("state"));
}

TEST_P(OAuthLoginTest, GitHubGivesNumberNameAndPrimaryVerifiedAddress) {
    start();
    answerAsGitHub();
    std::string challenge;
    prepare = [&challenge](const FormFields& asked) {
        challenge = std::string(*asked.find("code_challenge"));
    };
    const json::object user = userOf(logInAt("github"));
    EXPECT_EQ(user.at("display_name"), "Octo Cat");
    EXPECT_EQ(user.at("verified_email"), "octo@example.org");
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM identities WHERE subject = '583231'"), 1);
    const std::string asked = remote.requestTo("/token");
    EXPECT_THAT(asked,
                AllOf(HasSubstr("client_id=client%201"), HasSubstr("client_secret=secret%261"),
                      HasSubstr("code=c-1"), HasSubstr("Accept: application/json")));
    const auto sent = FormFields::decode(asked.substr(asked.find("\r\n\r\n") + 4));
    EXPECT_EQ(codeChallengeOf(*sent->find("code_verifier")), challenge);
    EXPECT_THAT(remote.requestTo("/emails"), HasSubstr("Authorization: Bearer at-1"));
}

TEST_P(OAuthLoginTest, AConfirmationAsksTheUserAgain) {
    start();
    answerAsGitHub();
    const std::string token = textIn(logInAt("github"), "access_token");
    const auto asked = [&](const std::string& provider, const std::string& intent) {
        TestBrowser visitor = browser();
        return open(visitor, program().begin(provider, intent, token));
    };
    EXPECT_EQ(asked("github", "delete_reauth").find("prompt"), "select_account");
    EXPECT_EQ(asked("facebook", "delete_reauth").find("auth_type"), "reauthenticate");
    EXPECT_EQ(asked("google", "delete_reauth").find("prompt"), "login");
    EXPECT_EQ(asked("google", "delete_reauth").find("max_age"), "0");
    for (const char* provider : {"google", "facebook", "github"}) {
        for (const char* name : {"prompt", "max_age", "auth_type"}) {
            EXPECT_FALSE(asked(provider, "sign_in").find(name)) << provider << " " << name;
            EXPECT_FALSE(asked(provider, "link").find(name)) << provider << " " << name;
        }
    }
}

TEST_P(OAuthLoginTest, GoogleItselfIsToldNothingThatItDoesNotKnow) {
    settings.providers.front().issuer.clear();
    start();
    answerAsGitHub();
    const std::string token = textIn(logInAt("github"), "access_token");
    TestBrowser visitor = browser();
    const FormFields asked = open(visitor, program().begin("google", "delete_reauth", token));
    EXPECT_EQ(asked.find("prompt"), "select_account");
    EXPECT_FALSE(asked.find("max_age"));
}

TEST_P(OAuthLoginTest, AnOldLoginAtTheProviderConfirmsNothing) {
    start();
    answerAsGoogle({});
    const std::string token = textIn(logInAt("google"), "access_token");
    const auto confirm = [&](std::int64_t age) {
        answerAsGoogle({{"auth_time", storedTime(clock().now()) / 1000 - age}});
        TestBrowser visitor = browser();
        const FormFields asked = open(visitor, program().begin("google", "delete_reauth", token));
        prepare(asked);
        return comeBack(visitor, "google", "code=c-1&state=" + std::string(*asked.find("state")));
    };
    EXPECT_EQ(redirectedValue(confirm(3600), "error"), "server_error");
    EXPECT_NE(redirectedValue(confirm(5), "handoff_code"), "");
}

TEST_P(OAuthLoginTest, NoOtherAddressOfGitHubCounts) {
    start();
    for (const char* emails :
         {"[]", "{}", R"([{"email":"octo@example.org","primary":true,"verified":false}])",
          R"([{"email":"octo@example.org","primary":false,"verified":true}])",
          R"([{"email":"octo@example.org","primary":true}])"}) {
        answerAsGitHub();
        remote.answer("/emails", 200, emails);
        EXPECT_FALSE(userOf(logInAt("github")).contains("verified_email")) << emails;
    }
    answerAsGitHub();
    remote.answer("/emails", 404, "{}");
    EXPECT_FALSE(userOf(logInAt("github")).contains("verified_email"));
}

TEST_P(OAuthLoginTest, AnOutageOfTheAddressesIsNoLogin) {
    start();
    answerAsGitHub();
    remote.answer("/emails", 500, "{}");
    logInAt("github");
    EXPECT_EQ(lastError, "temporarily_unavailable");
}

TEST_P(OAuthLoginTest, AUserThatIsNoneIsNoLogin) {
    start();
    for (const char* user : {"[]", "{}", R"({"id":0})", R"({"id":"7"})", "no json", ""}) {
        answerAsGitHub();
        remote.answer("/user", 200, user);
        logInAt("github");
        EXPECT_EQ(lastError, "server_error") << user;
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 0);
}

TEST_P(OAuthLoginTest, ATokenAnswerThatIsNoneIsNoLogin) {
    start();
    answerAsGitHub();
    const auto errorFor = [this](int status, const std::string& body) {
        remote.answer("/token", status, body);
        logInAt("github");
        return lastError;
    };
    EXPECT_EQ(errorFor(200, R"({"error":"bad_verification_code","access_token":"x"})"),
              "server_error");
    EXPECT_EQ(errorFor(200, R"({"access_token":""})"), "server_error");
    EXPECT_EQ(errorFor(200, R"({"access_token":"a\r\nHost: x"})"), "server_error");
    EXPECT_EQ(errorFor(200, R"({"access_token":"a","access_token":"b"})"), "server_error");
    EXPECT_EQ(errorFor(200, "[]"), "server_error");
    EXPECT_EQ(errorFor(400, R"({"error":"invalid_grant"})"), "server_error");
    EXPECT_EQ(errorFor(302, ""), "server_error");
    EXPECT_EQ(errorFor(429, "{}"), "temporarily_unavailable");
    EXPECT_EQ(errorFor(503, "<html>"), "temporarily_unavailable");
    EXPECT_EQ(errorFor(200, std::string(3 * 1024 * 1024, ' ')), "server_error");
    EXPECT_EQ(remote.countOf("/user"), 0);
}

TEST_P(OAuthLoginTest, AProviderThatIsGoneIsAnOutage) {
    settings.providers.back().tokenUrl = "http://127.0.0.1:1/token";
    start();
    logInAt("github");
    EXPECT_EQ(lastError, "temporarily_unavailable");
}

TEST_P(OAuthLoginTest, FacebookProvesItsSecretAndItsAddressIsNotVerified) {
    start();
    remote.answer("/user", 200, R"({"id":"f-1","name":"Ada","email":"ada@example.org"})");
    const json::object user = userOf(logInAt("facebook"));
    EXPECT_EQ(user.at("display_name"), "Ada");
    EXPECT_FALSE(user.contains("verified_email"));
    EXPECT_THAT(remote.requestTo("/user"),
                AllOf(StartsWith("GET /user?fields=id%2Cname%2Cemail&appsecret_proof=" +
                                 hmacSha256Hex("secret&1", "at-1") + " HTTP/1.1"),
                      HasSubstr("Authorization: Bearer at-1")));
    EXPECT_THAT(remote.requestTo("/token"), Not(HasSubstr("code_verifier")));
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM identities WHERE email IS NOT NULL"), 1);
    remote.answer("/user", 200, R"({"name":"Ada"})");
    logInAt("facebook");
    EXPECT_EQ(lastError, "server_error");
}

TEST_P(OAuthLoginTest, GoogleIsBelievedByItsToken) {
    start();
    answerAsGoogle({});
    const json::object user = userOf(logInAt("google"));
    EXPECT_EQ(user.at("verified_email"), "ada@example.org");
    EXPECT_EQ(user.at("display_name"), "Ada");
    EXPECT_EQ(remote.countOf("/user"), 0);
}

TEST_P(OAuthLoginTest, GoogleIsNotBelievedWithAWrongToken) {
    start();
    for (const json::object& change :
         {json::object{{"nonce", "other"}}, json::object{{"aud", "client 2"}},
          json::object{{"iss", "https://evil.example"}}, json::object{{"exp", 1}},
          json::object{{"sub", nullptr}}}) {
        answerAsGoogle(change);
        logInAt("google");
        EXPECT_EQ(lastError, "server_error") << json::serialize(change);
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 0);
}

TEST_P(OAuthLoginTest, AnAddressThatGoogleHasNotVerifiedIsNone) {
    start();
    answerAsGoogle({{"email_verified", false}});
    EXPECT_FALSE(userOf(logInAt("google")).contains("verified_email"));
    answerAsGoogle({{"email_verified", nullptr}, {"sub", "g-2"}});
    EXPECT_FALSE(userOf(logInAt("google")).contains("verified_email"));
}

TEST_P(OAuthLoginTest, WhatTheTokenLeavesOutIsAskedFor) {
    start();
    answerAsGoogle({{"email", nullptr}, {"email_verified", nullptr}, {"name", nullptr}});
    remote.answer("/user", 200,
                  R"({"sub":"g-1","email":"a@b.example","email_verified":true,"name":"A B"})");
    const json::object user = userOf(logInAt("google"));
    EXPECT_EQ(user.at("verified_email"), "a@b.example");
    EXPECT_EQ(user.at("display_name"), "A B");
    remote.answer("/user", 200, R"({"sub":"g-2","email":"evil@b.example","email_verified":true})");
    logInAt("google");
    EXPECT_EQ(lastError, "server_error");
}

TEST_P(OAuthLoginTest, RealProvidersAreLinkedByVerifiedAddress) {
    start();
    answerAsGitHub();
    const json::object first = userOf(logInAt("github"));
    answerAsGoogle({{"email", "OCTO@example.org"}});
    const json::object second = userOf(logInAt("google"));
    EXPECT_EQ(second.at("handle"), first.at("handle"));
    EXPECT_EQ(second.at("linked_providers"), (json::array{"google", "github"}));
}

TEST_P(OAuthLoginTest, ALocalNameOpensNoRealAccount) {
    const std::vector<ProviderSettings> real = settings.providers;
    settings.providers.clear();
    start();
    logIn("google", "Mallory", "octo@example.org");
    server.reset();
    settings.providers = real;
    start();
    answerAsGitHub();
    const json::object user = userOf(logInAt("github"));
    EXPECT_EQ(user.at("linked_providers"), (json::array{"github"}));
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 2);
}

TEST_P(OAuthLoginTest, TheUsersNoIsPassedOn) {
    start();
    for (const auto& [said, word] : std::vector<std::pair<std::string, std::string>>{
             {"access_denied", "access_denied"},
             {"temporarily_unavailable", "temporarily_unavailable"},
             {"<script>", "server_error"}}) {
        TestBrowser visitor = browser();
        const ProgramLogin login = program().begin("github");
        const std::string state(*open(visitor, login).find("state"));
        const TestResponse back =
            comeBack(visitor, "github", "error=" + percentEncoded(said) + "&state=" + state);
        EXPECT_EQ(back.headers.at("location"),
                  "com.marnoth.lumivane.oauth://callback?transaction_id=" + login.transactionId +
                      "&error=" + word);
    }
    EXPECT_EQ(remote.countOf("/token"), 0);
}

TEST_P(OAuthLoginTest, AnAnswerCountsOnlyInItsBrowserWithItsStateAtItsProvider) {
    start();
    answerAsGitHub();
    TestBrowser visitor = browser();
    TestBrowser other = browser();
    const ProgramLogin login = program().begin("github");
    const ProgramLogin second = program().begin("github");
    const std::string state(*open(visitor, login).find("state"));
    const std::string foreign(*open(other, second).find("state"));
    EXPECT_EQ(comeBack(other, "github", "code=c&state=" + state).status, 403);
    EXPECT_EQ(comeBack(visitor, "github", "code=c&state=" + foreign).status, 403);
    EXPECT_EQ(comeBack(visitor, "github", "code=c").status, 400);
    EXPECT_EQ(comeBack(visitor, "github", "code=c&state=" + login.transactionId).status, 400);
    EXPECT_EQ(comeBack(visitor, "github", "code=c&state=" + state + "x").status, 400);
    EXPECT_EQ(comeBack(visitor, "google", "code=c&state=" + state).status, 400);
    EXPECT_EQ(comeBack(visitor, "github", "code=c&state=" + state + "&state=" + state).status, 400);
    EXPECT_EQ(remote.countOf("/token"), 0);
    EXPECT_EQ(comeBack(visitor, "github", "code=c&state=" + state).status, 302);
}

TEST_P(OAuthLoginTest, ACodeIsTakenToTheProviderOnce) {
    start();
    answerAsGitHub();
    TestBrowser visitor = browser();
    const ProgramLogin login = program().begin("github");
    const std::string query = "code=c-1&state=" + std::string(*open(visitor, login).find("state"));
    const auto cookies = visitor.cookies;
    EXPECT_EQ(comeBack(visitor, "github", query).status, 302);
    visitor.cookies = cookies;
    EXPECT_EQ(comeBack(visitor, "github", query).status, 410);
    EXPECT_EQ(remote.countOf("/token"), 1);
}

TEST_P(OAuthLoginTest, AnswersOfAnotherIssuerAreNotTaken) {
    start();
    answerAsGoogle({});
    TestBrowser visitor = browser();
    const ProgramLogin login = program().begin("google");
    const std::string state(*open(visitor, login).find("state"));
    const TestResponse back =
        comeBack(visitor, "google", "code=c&iss=https%3A%2F%2Fevil.example&state=" + state);
    EXPECT_EQ(redirectedValue(back, "error"), "server_error");
    EXPECT_EQ(remote.countOf("/token"), 0);
}

TEST_P(OAuthLoginTest, TheLocalFormIsNoWayAroundAProvider) {
    start();
    TestBrowser visitor = browser();
    const ProgramLogin login = program().begin("github");
    open(visitor, login);
    EXPECT_EQ(visitor.post(login.path, {{"name", "Ada"}, {"email", "a@b.example"}}).status, 400);
}

TEST_P(OAuthLoginTest, APublicAddressStandsInEveryAddress) {
    settings.isLoopbackOnly = false;
    settings.publicUrl = "https://lumivane.example/";
    start();
    TestBrowser visitor = browser();
    const ProgramLogin login = program().begin("github");
    const TestResponse response = visitor.get(login.path);
    EXPECT_THAT(response.headers.at("set-cookie"), HasSubstr("; SameSite=Lax; Secure"));
    EXPECT_THAT(response.headers.at("location"),
                HasSubstr(percentEncoded("https://lumivane.example/v1/auth/callback/github")));
}

TEST_P(OAuthLoginTest, SettingsThatCannotWorkAreRefused) {
    const auto words = [this] {
        try {
            start();
        } catch (const LoginSettingsError& error) {
            return std::string(error.what());
        }
        return std::string("none");
    };
    settings.isLoopbackOnly = false;
    EXPECT_THAT(words(), HasSubstr("public_base_url"));
    settings.publicUrl = "http://lumivane.example";
    EXPECT_THAT(words(), HasSubstr("must use https"));
    settings.publicUrl = "https://lumivane.example";
    settings.providers.front().clientSecret.clear();
    EXPECT_THAT(words(), HasSubstr("google needs both"));
    settings.providers.front().clientSecret = "s";
    settings.providers.front().keysUrl = "http://elsewhere.example/keys";
    EXPECT_THAT(words(), HasSubstr("keys_url"));
    settings.providers.front() = settings.providers.back();
    EXPECT_THAT(words(), HasSubstr("twice"));
}

TEST_P(OAuthLoginTest, WithoutProvidersNothingStandsInWhereOthersReachTheService) {
    settings.providers.clear();
    settings.isLoopbackOnly = false;
    settings.publicUrl = "https://lumivane.example";
    start();
    EXPECT_EQ(program().ask("GET", "/v1/auth/providers", "").body, R"({"providers":[]})");
}

TEST_P(OAuthLoginTest, WithoutProvidersNothingStandsInAtAPublicAddress) {
    settings.providers.clear();
    settings.publicUrl = "https://lumivane.example";
    start();
    EXPECT_EQ(program().ask("GET", "/v1/auth/providers", "").body, R"({"providers":[]})");
}

} // namespace lumivane::service::test
