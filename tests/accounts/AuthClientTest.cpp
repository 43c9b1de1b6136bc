#include "accounts/AuthClientFixture.h"

namespace lumivane {

using namespace std::chrono_literals;
using namespace test;
using Case = AuthenticationError::Case;

class AuthClientTest : public AuthClientFixture {};

// The base URL

TEST_F(AuthClientTest, TalksToTheLocalServiceByDefault) {
    run("me", 200, userBody);
    EXPECT_EQ(lastRequest().url, QUrl(u"http://127.0.0.1:8787/v1/auth/me"_qs));
}

TEST_F(AuthClientTest, TheApplicationsOwnBaseAndAGivenOneComeBeforeTheDefault) {
    information.LumivaneAPIBaseURL = u"https://api.example.com:8443/"_qs;
    AuthClient configured(std::nullopt, information, transport);
    transport.answer(200, userBody);
    operation("me").run(configured, {});
    EXPECT_EQ(lastRequest().url, QUrl(u"https://api.example.com:8443/v1/auth/me"_qs));
    AuthClient given(u"http://LOCALHOST:9000"_qs, information, transport);
    transport.answer(200, userBody);
    operation("me").run(given, {});
    EXPECT_EQ(lastRequest().url, QUrl(u"http://localhost:9000/v1/auth/me"_qs));
}

TEST_F(AuthClientTest, WithARefusedBaseEveryCallIsUnavailableAndNothingIsSent) {
    for (const QString& base : {u"http://example.com"_qs, u"http://127.0.0.1:8787/api"_qs,
                                u"ftp://127.0.0.1"_qs, u""_qs, u"hello"_qs}) {
        AuthClient refused(base, information, transport);
        for (const Operation& each : operations()) {
            EXPECT_TRUE(each.run(refused, {}).isErrorOnly(Case::unavailable)) << each.name;
        }
    }
    EXPECT_TRUE(transport.requests().empty());
}

// The request

TEST_F(AuthClientTest, EveryOperationSendsItsRequest) {
    ASSERT_EQ(operations().size(), 14U);
    for (const Operation& each : operations()) {
        ASSERT_TRUE(run(each, 200, each.reply).hasValue) << each.name;
        EXPECT_EQ(lastRequest().method, each.method) << each.name;
        EXPECT_EQ(lastRequest().url.toEncoded(), "http://127.0.0.1:8787" + each.path);
        EXPECT_EQ(lastRequest().body, each.body) << each.name;
        EXPECT_EQ(lastRequest().timeout, 60s) << each.name;
    }
    EXPECT_EQ(transport.requests().size(), operations().size());
}

TEST_F(AuthClientTest, EveryOperationSendsItsHeaders) {
    for (const Operation& each : operations()) {
        Headers expected{{"Content-Type", "application/json"}, {"Accept", "application/json"}};
        if (each.name == "handleFilter") {
            expected.erase(expected.begin());
        }
        if (each.token) {
            expected.emplace_back("Authorization", "Bearer " + *each.token);
        }
        run(each, 200, each.reply);
        EXPECT_EQ(lastRequest().headers, expected) << each.name;
    }
}

TEST_F(AuthClientTest, AnswersAreBounded) {
    for (const Operation& each : operations()) {
        run(each, 200, each.reply);
        EXPECT_EQ(lastRequest().maximumResponseBytes,
                  each.name == "handleFilter" ? 4 * 1024 * 1024 : 1024 * 1024);
    }
}

TEST_F(AuthClientTest, AReadyMadeSessionKeepsItsTimeout) {
    AuthClient ready(std::nullopt, information, HttpSession{&transport, 1500ms});
    for (const Operation& each : operations()) {
        transport.answer(200, each.reply);
        each.run(ready, {});
        EXPECT_EQ(lastRequest().timeout, 1500ms) << each.name;
    }
}

TEST_F(AuthClientTest, ALoginStartsWithoutAToken) {
    transport.answer(200, transactionBody);
    outcomeOf(client.createTransaction(AuthProvider::google, AuthIntent::signIn, u"c"_qs,
                                       std::nullopt, {}));
    EXPECT_EQ(lastRequest().headers,
              (Headers{{"Content-Type", "application/json"}, {"Accept", "application/json"}}));
    EXPECT_EQ(lastRequest().body, R"({"provider":"google","intent":"sign_in","code_challenge":"c",)"
                                  R"("code_challenge_method":"S256"})");
}

TEST_F(AuthClientTest, EveryProviderHasItsPath) {
    for (const AuthProvider provider : allCases<AuthProvider>()) {
        transport.answer(200, userBody);
        outcomeOf(client.unlink(provider, secret("t"), {}));
        EXPECT_EQ(lastRequest().url.path(),
                  QString(u"/v1/auth/identities/"_qs + rawValue(provider)));
    }
}

TEST_F(AuthClientTest, ALoginWithoutADeviceLeavesItsKeysOut) {
    transport.answer(200, credentialsBody);
    outcomeOf(client.complete(u"t"_qs, secret("h"), secret("v"), AuthIntent::signIn, {}, {}));
    EXPECT_EQ(lastRequest().body,
              R"({"transaction_id":"t","handoff_code":"h","code_verifier":"v"})");
}

TEST_F(AuthClientTest, LinkingCarriesTheDeviceAndDeletionDropsIt) {
    for (const AuthIntent intent : allCases<AuthIntent>()) {
        transport.answer(200, intent == AuthIntent::deleteReauth ? proofBody : credentialsBody);
        outcomeOf(
            client.complete(u"t"_qs, secret("h"), secret("v"), intent, sampleRegistration(), {}));
        EXPECT_EQ(lastRequest().body.contains("device_"), intent != AuthIntent::deleteReauth);
    }
    EXPECT_EQ(lastRequest().body,
              R"({"transaction_id":"t","handoff_code":"h","code_verifier":"v"})");
}

TEST_F(AuthClientTest, AProfileUpdateLeavesOutWhatStays) {
    transport.answer(200, userBody);
    outcomeOf(client.updateProfile(u"ada"_qs, std::nullopt, secret("t"), {}));
    EXPECT_EQ(lastRequest().body, R"({"handle":"ada"})");
    transport.answer(200, userBody);
    outcomeOf(client.updateProfile(std::nullopt, u"Ada"_qs, secret("t"), {}));
    EXPECT_EQ(lastRequest().body, R"({"display_name":"Ada"})");
    transport.answer(200, userBody);
    outcomeOf(client.updateProfile(std::nullopt, std::nullopt, secret("t"), {}));
    EXPECT_EQ(lastRequest().body, "{}");
}

TEST_F(AuthClientTest, TextsOfABodyAreEscaped) {
    transport.answer(200, R"({"handle":"a","available":true})");
    outcomeOf(client.handleAvailability(u"a\"\\\n\u0001\u00e9\U0001F511"_qs, secret("t"), {}));
    EXPECT_EQ(lastRequest().body, "{\"handle\":\"a\\\"\\\\\\n\\u0001\xc3\xa9\xf0\x9f\x94\x91\"}");
}

TEST_F(AuthClientTest, ASecretThatIsNoTextCannotBeSent) {
    EXPECT_TRUE(endingOf(client.revoke(secret("\xff\xfe"), {})).isErrorOnly(Case::unavailable));
    EXPECT_TRUE(transport.requests().empty());
}

TEST_F(AuthClientTest, AResumedRefreshIsTheSameRequest) {
    run("refresh", 503);
    run("refresh", 200, credentialsBody);
    EXPECT_EQ(transport.requests().at(0).body, transport.requests().at(1).body);
    EXPECT_EQ(transport.requests().at(0).headers, transport.requests().at(1).headers);
}

// Lifetime and cancellation

TEST_F(AuthClientTest, AStopBeforehandSendsNothing) {
    std::stop_source source;
    source.request_stop();
    for (const Operation& each : operations()) {
        const Ending ending = each.run(client, source.get_token());
        EXPECT_TRUE(ending.isCancelled && !ending.error) << each.name;
    }
    EXPECT_TRUE(transport.requests().empty());
}

TEST_F(AuthClientTest, AStopEndsTheTransferAndArrivesAsACancellation) {
    std::stop_source source;
    transport.hold();
    const auto outcome =
        watch(client.refresh(secret("refresh-1"), QUuid::createUuid(), source.get_token()));
    drainEvents();
    EXPECT_FALSE(outcome->hasEnded());
    EXPECT_EQ(transport.underWay(), 1);
    source.request_stop();
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_EQ(transport.underWay(), 0);
}

TEST_F(AuthClientTest, ATransferThatTheTransportCancelledIsACancellation) {
    for (const Operation& each : operations()) {
        transport.fail(TransportError(TransportError::Kind::cancelled, 5));
        const Ending ending = each.run(client, {});
        EXPECT_TRUE(ending.isCancelled && !ending.error) << each.name;
    }
}

TEST_F(AuthClientTest, SeveralTransfersMayBeUnderWayAndOutliveTheClient) {
    auto shortLived = std::make_unique<AuthClient>(std::nullopt, information, transport);
    Completion<HttpResponse> first = transport.hold();
    Completion<HttpResponse> second = transport.hold();
    const auto me = watch(shortLived->me(secret("a"), {}));
    const auto filter = watch(shortLived->handleFilter(u"v"_qs, secret("a"), {}));
    drainEvents();
    EXPECT_EQ(transport.underWay(), 2);
    shortLived.reset();
    second.resolve(HttpResponse{true, 304, {}});
    first.resolve(HttpResponse{true, 200, userBody});
    drainEvents();
    EXPECT_EQ(me->value, sampleUser());
    EXPECT_EQ(filter->value, HandleFilterOutcome(HandleFilterUnchanged()));
}

TEST_F(AuthClientTest, NothingIsLoggedAndNothingTriedAgain) {
    for (const Operation& each : operations()) {
        for (const int status : {200, 401, 409, 500}) {
            run(each, status, each.reply);
        }
    }
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(transport.requests().size(), operations().size() * 4);
}

} // namespace lumivane
