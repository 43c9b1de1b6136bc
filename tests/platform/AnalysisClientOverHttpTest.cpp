#include "domain/LumivaneError.h"
#include "platform/HttpTransportFixture.h"
#include "service/AnalysisClient.h"
#include "support/LogCapture.h"

namespace lumivane {

class AnalysisClientOverHttpTest : public HttpTransportFixture {};

// The client over the real transport

TEST_F(AnalysisClientOverHttpTest, TheClientsRequestArrivesAsItIsMeantTo) {
    server.always("/v1/analyze", ScriptedAnswer::json(200, R"({"request_id":"r","result":"A",)"
                                                           R"("result_kind":"choice"})"));
    AnalysisClient client(server.baseURL(), {}, *transport);
    AnalysisPayload payload;
    payload.jpeg = "abc";
    const auto outcome =
        test::outcomeOf(client.analyze(payload, AppSettings::defaults(), SecretText("secret"), {}));
    ASSERT_TRUE(outcome.value);
    EXPECT_EQ(outcome.value->result, u"A"_qs);
    const auto& recorded = server.requests().front();
    EXPECT_EQ(recorded.line, "POST /v1/analyze HTTP/1.1");
    EXPECT_EQ(recorded.header("Authorization"), "Bearer secret");
    EXPECT_EQ(recorded.header("Content-Type"), "application/json");
    EXPECT_EQ(recorded.header("Cookie"), std::nullopt);
    EXPECT_EQ(recorded.body, R"({"image_data_url":"data:image/jpeg;base64,YWJj",)"
                             R"("preset":"summary","client_version":"0.3.0"})");
}

TEST_F(AnalysisClientOverHttpTest, TheClientSortsWhatTheWireBrings) {
    using Case = LumivaneError::Case;
    ScriptedHttpServer other;
    AnalysisClient client(server.baseURL(), {}, *transport);
    const std::vector<std::pair<ScriptedAnswer, Case>> cases{
        {ScriptedAnswer::stream(1024 * mebibyte), Case::invalidResponse},
        {ScriptedAnswer::endlessChunks(), Case::invalidResponse},
        {ScriptedAnswer::whole(200, "garbage"), Case::invalidResponse},
        {ScriptedAnswer::whole(200, QByteArray("[").repeated(1'000'000)), Case::invalidResponse},
        {ScriptedAnswer::whole(401, "no"), Case::authenticationRequired},
        {ScriptedAnswer::whole(503, "no"), Case::serviceUnavailable},
        {ScriptedAnswer::redirect(302, QUrl(other.baseURL())), Case::serviceUnavailable},
        {ScriptedAnswer::silent(Then::reset), Case::serviceUnavailable},
        {ScriptedAnswer::raw("garbage", Then::close), Case::serviceUnavailable},
        {ScriptedAnswer::raw("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n{", Then::close),
         Case::serviceUnavailable}};
    for (const auto& [answer, expected] : cases) {
        server.always("/v1/analyze", answer);
        const auto outcome = test::outcomeOf(
            client.analyze(QByteArray("x"), AppSettings::defaults(), SecretText("secret"), {}));
        ASSERT_TRUE(outcome.errorAs<LumivaneError>());
        EXPECT_EQ(outcome.errorAs<LumivaneError>(), expected) << answer.bytes.left(60).constData();
    }
    EXPECT_EQ(server.requests().size(), cases.size());
    EXPECT_EQ(other.connectionCount(), 0);
}

TEST_F(AnalysisClientOverHttpTest, NothingThatUsersSeeReachesALog) {
    const test::LogCapture log;
    AnalysisClient client(server.baseURL(), {}, *transport);
    AppSettings settings;
    settings.preset = Preset::custom;
    settings.customPrompt = u"CANARY-prompt"_qs;
    AnalysisPayload payload;
    payload.screenText = u"CANARY-text"_qs;
    for (const auto& [status, body] : std::vector<std::pair<int, QByteArray>>{
             {200, R"({"request_id":"CANARY-id","result":"CANARY","result_kind":"text"})"},
             {500, R"({"error":{"code":"CANARY","message":"CANARY","request_id":"CANARY"}})"},
             {200, "CANARY-garbage"},
             {401, "CANARY-plain"}}) {
        server.always("/v1/analyze", ScriptedAnswer::json(status, body));
        server.always("/healthz", ScriptedAnswer::json(status, body));
        test::outcomeOf(client.analyze(payload, settings, SecretText("CANARY-token"), {}));
        test::outcomeOf(client.health({}));
    }
    EXPECT_GE(log.lines().size(), 16U);
    EXPECT_FALSE(log.holds("CANARY"));
}

} // namespace lumivane
