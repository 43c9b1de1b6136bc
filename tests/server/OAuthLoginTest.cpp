#include "server/OAuthFixture.h"
#include "server/login/OAuthProviders.h"

#include <gmock/gmock.h>

namespace lumivane::service::test {

using testing::HasSubstr;
using testing::StartsWith;

namespace json = boost::json;

class OAuthLoginTest : public OAuthTest {};

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

TEST_P(OAuthLoginTest, ALoginThatOpensNothingNowDoesNotCountWhenOneIsUnlinked) {
    settings.providers.erase(settings.providers.begin()); // Google
    start();
    answerAsGitHub();
    const std::string token = textIn(logInAt("github"), "access_token");
    const auto unlink = [&] {
        return program().ask("DELETE", "/v1/auth/identities/github", "", token);
    };
    // Of a provider that was taken out of the settings, and of the local pages.
    store().execute("INSERT INTO identities (provider, subject, account_id, email_verified, "
                    "linked_at) SELECT 'google', 'g-1', id, 0, 1 FROM accounts");
    store().execute("INSERT INTO identities (provider, subject, account_id, email_verified, "
                    "linked_at) SELECT 'facebook', 'local:1', id, 0, 1 FROM accounts");
    EXPECT_EQ(unlink().errorCode(), "last_identity");
    store().execute("UPDATE identities SET subject = 'f-1' WHERE provider = 'facebook'");
    EXPECT_EQ(unlink().status, 200);
}

TEST_P(OAuthLoginTest, EveryLoginIsReportedWithWhatWentWrong) {
    start();
    answerAsGitHub();
    logInAt("github");
    remote.answer("/emails", 403, "{}");
    logInAt("github");
    remote.answer("/token", 401, R"({"error":"canary"})");
    logInAt("github");
    answerAsGoogle({{"nonce", "canary"}});
    logInAt("google");

    const std::vector<LoginEvent> events = server->events();
    ASSERT_EQ(events.size(), 4U);
    EXPECT_FALSE(events[0].failure);
    EXPECT_EQ(events[0].provider, AuthProvider::github);
    EXPECT_EQ(events[1].failure->refusal, LoginRefusal::unavailable);
    EXPECT_EQ(events[1].failure->stage, LoginStage::emails);
    EXPECT_EQ(events[1].failure->status, 403);
    EXPECT_EQ(events[2].failure->stage, LoginStage::token);
    EXPECT_EQ(events[2].failure->fault, LoginFault::status);
    EXPECT_EQ(events[2].failure->status, 401);
    EXPECT_EQ(events[3].provider, AuthProvider::google);
    EXPECT_EQ(events[3].failure->stage, LoginStage::identity);
    EXPECT_EQ(events[3].failure->fault, LoginFault::content);
    EXPECT_NE(events[3].requestId, "");
}

TEST_P(OAuthLoginTest, AProviderThatIsGoneIsAnOutage) {
    settings.providers.back().tokenUrl = "http://127.0.0.1:1/token";
    start();
    logInAt("github");
    EXPECT_EQ(lastError, "temporarily_unavailable");
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
