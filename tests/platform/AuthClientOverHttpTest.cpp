#include "accounts/AuthClient.h"
#include "accounts/AuthenticationError.h"
#include "platform/HttpTransportFixture.h"

namespace lumivane {

using Case = AuthenticationError::Case;
using test::flagged;
using test::outcomeOf;
using test::RecordedRequest;

namespace {

SecretText secret(QByteArrayView text) { return SecretText(text); }

constexpr const char* userBody = R"({"display_name":"A","linked_providers":[],"handle":"ab"})";

} // namespace

class AuthClientOverHttpTest : public HttpTransportFixture {
protected:
    const RecordedRequest& lastRequest() { return server.requests().back(); }

    AuthClient client{server.baseURL(), {}, *transport};
};

TEST_F(AuthClientOverHttpTest, RequestsWithABodyArriveAsTheyAreMeantTo) {
    server.always("/v1/auth/profile", ScriptedAnswer::json(200, userBody));
    ASSERT_TRUE(outcomeOf(client.updateProfile(u"ab"_qs, {}, secret("token-1"), {})).value);
    EXPECT_EQ(lastRequest().line, "PATCH /v1/auth/profile HTTP/1.1");
    EXPECT_EQ(lastRequest().header("Authorization"), "Bearer token-1");
    EXPECT_EQ(lastRequest().header("Content-Type"), "application/json");
    EXPECT_EQ(lastRequest().header("Accept"), "application/json");
    EXPECT_EQ(lastRequest().header("Cookie"), std::nullopt);
    EXPECT_EQ(lastRequest().body, R"({"handle":"ab"})");
    server.always("/v1/account", ScriptedAnswer::whole(204, {}));
    ASSERT_TRUE(outcomeOf(flagged(client.deleteAccount(secret("t"), secret("p"), {}))).value);
    EXPECT_EQ(lastRequest().line, "DELETE /v1/account HTTP/1.1");
    EXPECT_EQ(lastRequest().body, R"({"reauth_proof":"p"})");
}

TEST_F(AuthClientOverHttpTest, RequestsWithoutABodyHaveNone) {
    server.always("/v1/auth/logout", ScriptedAnswer::whole(204, {}));
    ASSERT_TRUE(outcomeOf(flagged(client.logout(secret("t"), {}))).value);
    EXPECT_EQ(lastRequest().line, "POST /v1/auth/logout HTTP/1.1");
    EXPECT_EQ(lastRequest().body, "");
    server.always("/v1/auth/identities/google", ScriptedAnswer::json(200, userBody));
    ASSERT_TRUE(outcomeOf(client.unlink(AuthProvider::google, secret("t"), {})).value);
    EXPECT_EQ(lastRequest().line, "DELETE /v1/auth/identities/google HTTP/1.1");
    server.always("/v1/auth/me", ScriptedAnswer::json(200, userBody));
    ASSERT_TRUE(outcomeOf(client.me(secret("t"), {})).value);
    EXPECT_EQ(lastRequest().line, "GET /v1/auth/me HTTP/1.1");
    EXPECT_EQ(lastRequest().header("Content-Type"), "application/json");
}

TEST_F(AuthClientOverHttpTest, TheFilterIsAskedForByItsEntityTag) {
    server.always("/v1/auth/handles/filter", ScriptedAnswer::whole(304, {}));
    const auto outcome = outcomeOf(client.handleFilter(u"v-1"_qs, secret("t"), {}));
    EXPECT_EQ(outcome.value, HandleFilterOutcome(HandleFilterUnchanged()));
    EXPECT_EQ(lastRequest().header("If-None-Match"), "\"v-1\"");
    EXPECT_EQ(lastRequest().header("Content-Type"), std::nullopt);
}

TEST_F(AuthClientOverHttpTest, ALineBreakInATokenOrAVersionSendsNothing) {
    const auto me = outcomeOf(client.me(secret("t\r\nX-More: 1"), {}));
    EXPECT_EQ(me.errorAs<AuthenticationError>(), Case::unavailable);
    const auto filter = outcomeOf(client.handleFilter(u"v\r\nX-More: 1"_qs, secret("t"), {}));
    EXPECT_EQ(filter.errorAs<AuthenticationError>(), Case::unavailable);
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(AuthClientOverHttpTest, TheClientSortsWhatTheWireBringsAndSendsNoRefreshTwice) {
    const std::vector<std::pair<ScriptedAnswer, Case>> cases{
        {ScriptedAnswer::stream(1024 * mebibyte), Case::unavailable},
        {ScriptedAnswer::endlessChunks(), Case::unavailable},
        {ScriptedAnswer::whole(200, "garbage"), Case::unavailable},
        {ScriptedAnswer::whole(200, QByteArray("[").repeated(1'000'000)), Case::unavailable},
        {ScriptedAnswer::whole(401, "no"), Case::expiredSession},
        {ScriptedAnswer::whole(503, "no"), Case::unavailable},
        {ScriptedAnswer::redirect(302, QUrl(server.baseURL())), Case::unavailable},
        {ScriptedAnswer::silent(Then::reset), Case::unavailable},
        {ScriptedAnswer::raw("garbage", Then::close), Case::unavailable},
        {ScriptedAnswer::raw("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{", Then::close),
         Case::unavailable}};
    for (const auto& [answer, expected] : cases) {
        server.always("/v1/auth/refresh", answer);
        const auto outcome = outcomeOf(client.refresh(secret("t"), QUuid(), {}));
        EXPECT_EQ(outcome.errorAs<AuthenticationError>(), expected)
            << answer.bytes.left(60).constData();
    }
    EXPECT_EQ(server.requests().size(), cases.size());
}

TEST_F(AuthClientOverHttpTest, TheTransportLetsGoOfARequestSoThatItCanBeOverwritten) {
    server.always("/v1/auth/refresh", ScriptedAnswer::json(200, "{}"));
    const QByteArray token = QByteArray("Bearer ") + QByteArray(64, 't');
    const QByteArray body(64, 'b');
    HttpRequest sent = request("POST", u"/v1/auth/refresh"_qs, body);
    sent.headers = {{"Authorization", token}};
    ASSERT_TRUE(outcomeOf(transport->send(std::move(sent), {})).value);
    EXPECT_EQ(lastRequest().header("Authorization"), token);
    EXPECT_TRUE(body.isDetached());
    EXPECT_TRUE(token.isDetached());
}

} // namespace lumivane
