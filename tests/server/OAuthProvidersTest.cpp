#include "server/OAuthFixture.h"
#include "server/login/LoginCrypto.h"

#include <gmock/gmock.h>

namespace lumivane::service::test {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace json = boost::json;

class OAuthProvidersTest : public OAuthTest {};

INSTANTIATE_TEST_SUITE_P(Engines, OAuthProvidersTest, testing::Values(Engine::sqlite), engineName);

TEST_P(OAuthProvidersTest, GitHubGivesNumberNameAndPrimaryVerifiedAddress) {
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

TEST_P(OAuthProvidersTest, AConfirmationAsksTheUserAgain) {
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

TEST_P(OAuthProvidersTest, GoogleItselfIsToldNothingThatItDoesNotKnow) {
    settings.providers.front().issuer.clear();
    start();
    answerAsGitHub();
    const std::string token = textIn(logInAt("github"), "access_token");
    TestBrowser visitor = browser();
    const FormFields asked = open(visitor, program().begin("google", "delete_reauth", token));
    EXPECT_EQ(asked.find("prompt"), "select_account");
    EXPECT_FALSE(asked.find("max_age"));
}

TEST_P(OAuthProvidersTest, AnOldLoginAtTheProviderConfirmsNothing) {
    start();
    answerAsGoogle({});
    const std::string token = textIn(logInAt("google"), "access_token");
    const auto confirm = [&](const json::value& when) {
        answerAsGoogle({{"auth_time", when}});
        TestBrowser visitor = browser();
        const FormFields asked = open(visitor, program().begin("google", "delete_reauth", token));
        prepare(asked);
        return comeBack(visitor, "google", "code=c-1&state=" + std::string(*asked.find("state")));
    };
    const std::int64_t now = storedTime(clock().now()) / 1000;
    EXPECT_EQ(redirectedValue(confirm(now - 3600), "error"), "server_error");
    // The question for it was cut out of the address on its way through the browser.
    EXPECT_EQ(redirectedValue(confirm(nullptr), "error"), "server_error");
    EXPECT_NE(redirectedValue(confirm(now - 5), "handoff_code"), "");
}

TEST_P(OAuthProvidersTest, NoOtherAddressOfGitHubCounts) {
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

TEST_P(OAuthProvidersTest, AnOutageOfTheAddressesIsNoLogin) {
    start();
    answerAsGitHub();
    remote.answer("/emails", 500, "{}");
    logInAt("github");
    EXPECT_EQ(lastError, "temporarily_unavailable");
}

TEST_P(OAuthProvidersTest, ARefusalOfTheAddressesIsNoLoginAndErasesNone) {
    start();
    answerAsGitHub();
    logInAt("github");
    for (const auto& [status, word] :
         {std::pair(403, "temporarily_unavailable"), std::pair(429, "temporarily_unavailable"),
          std::pair(401, "server_error")}) {
        remote.answer("/emails", status, R"({"message":"API rate limit exceeded"})");
        logInAt("github");
        EXPECT_EQ(lastError, word) << status;
    }
    remote.answer("/emails", 200, "no json");
    logInAt("github");
    EXPECT_EQ(lastError, "server_error");
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM identities "
                             "WHERE email = 'octo@example.org' AND email_verified = 1"),
              1);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 1);
}

TEST_P(OAuthProvidersTest, AUserThatIsNoneIsNoLogin) {
    start();
    for (const char* user : {"[]", "{}", R"({"id":0})", R"({"id":"7"})", "no json", ""}) {
        answerAsGitHub();
        remote.answer("/user", 200, user);
        logInAt("github");
        EXPECT_EQ(lastError, "server_error") << user;
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 0);
}

TEST_P(OAuthProvidersTest, ATokenAnswerThatIsNoneIsNoLogin) {
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

TEST_P(OAuthProvidersTest, FacebookProvesItsSecretAndItsAddressIsNotVerified) {
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

TEST_P(OAuthProvidersTest, GoogleIsBelievedByItsToken) {
    start();
    answerAsGoogle({});
    const json::object user = userOf(logInAt("google"));
    EXPECT_EQ(user.at("verified_email"), "ada@example.org");
    EXPECT_EQ(user.at("display_name"), "Ada");
    EXPECT_EQ(remote.countOf("/user"), 0);
}

TEST_P(OAuthProvidersTest, GoogleIsNotBelievedWithAWrongToken) {
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

TEST_P(OAuthProvidersTest, AnAddressThatGoogleHasNotVerifiedIsNone) {
    start();
    answerAsGoogle({{"email_verified", false}});
    EXPECT_FALSE(userOf(logInAt("google")).contains("verified_email"));
    answerAsGoogle({{"email_verified", nullptr}, {"sub", "g-2"}});
    EXPECT_FALSE(userOf(logInAt("google")).contains("verified_email"));
}

TEST_P(OAuthProvidersTest, WhatTheTokenLeavesOutIsAskedFor) {
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

TEST_P(OAuthProvidersTest, RealProvidersAreLinkedByVerifiedAddress) {
    start();
    answerAsGitHub();
    const json::object first = userOf(logInAt("github"));
    answerAsGoogle({{"email", "OCTO@example.org"}});
    const json::object second = userOf(logInAt("google"));
    EXPECT_EQ(second.at("handle"), first.at("handle"));
    EXPECT_EQ(second.at("linked_providers"), (json::array{"google", "github"}));
}

TEST_P(OAuthProvidersTest, AnswersOfAnotherIssuerAreNotTaken) {
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

} // namespace lumivane::service::test
