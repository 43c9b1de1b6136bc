#include "service/AnalysisClient.h"

#include "domain/LumivaneError.h"
#include "domain/StrictJson.h"
#include "support/FakeHttpTransport.h"
#include "support/LogCapture.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace lumivane {

using namespace std::chrono_literals;
using Case = LumivaneError::Case;
using Kind = TransportError::Kind;
using test::outcomeOf;

namespace {

constexpr const char* healthBody = R"({"status":"ok","version":"1.2.3"})";
constexpr const char* answerBody =
    R"({"request_id":"r-1","result":"The answer","result_kind":"text"})";

QByteArray envelopeBody(const QByteArray& code, const QByteArray& message = "The message") {
    return R"({"error":{"code":")" + code + R"(","message":")" + message +
           R"(","request_id":"r-1"}})";
}

AppSettings settingsWith(Preset preset) {
    AppSettings settings;
    settings.preset = preset;
    return settings;
}

AnalysisPayload textPayload(const QString& text) {
    AnalysisPayload payload;
    payload.screenText = text;
    return payload;
}

} // namespace

class AnalysisClientTest : public testing::Test {
protected:
    AnalysisClient clientFor(const std::optional<QString>& baseURL) {
        return AnalysisClient(baseURL, information, transport);
    }

    std::optional<LumivaneError> healthError(AnalysisClient probed) {
        return outcomeOf(probed.health({})).errorAs<LumivaneError>();
    }

    test::Outcome<AnalyzeResponse> analyze(AnalysisPayload payload,
                                           AppSettings settings = AppSettings::defaults()) {
        return outcomeOf(client.analyze(std::move(payload), std::move(settings), u"token"_qs, {}));
    }

    /// The body of the last request.
    Json sentBody() { return parseJson(transport.requests().back().body); }

    std::optional<LumivaneError> errorOfAnalyzing(int status, const QByteArray& body) {
        transport.answer(status, body);
        return analyze(textPayload(u"text"_qs)).errorAs<LumivaneError>();
    }

    test::LogCapture log;
    test::FakeHttpTransport transport;
    ApplicationInformation information;
    AnalysisClient client{std::nullopt, information, transport};
};

// The base URL

TEST_F(AnalysisClientTest, TalksToTheLocalServiceByDefault) {
    transport.answer(200, healthBody);
    outcomeOf(client.health({}));
    EXPECT_EQ(transport.requests().at(0).url, QUrl(u"http://127.0.0.1:8787/healthz"_qs));
}

TEST_F(AnalysisClientTest, TheApplicationsOwnBaseComesBeforeTheDefault) {
    information.LumivaneAPIBaseURL = u"https://api.example.com:8443/"_qs;
    transport.answer(200, healthBody);
    outcomeOf(clientFor(std::nullopt).health({}));
    EXPECT_EQ(transport.requests().at(0).url, QUrl(u"https://api.example.com:8443/healthz"_qs));
}

TEST_F(AnalysisClientTest, AGivenBaseComesBeforeTheApplicationsOwn) {
    information.LumivaneAPIBaseURL = u"https://api.example.com"_qs;
    transport.answer(200, healthBody);
    outcomeOf(clientFor(u"http://LOCALHOST:9000/"_qs).health({}));
    EXPECT_EQ(transport.requests().at(0).url, QUrl(u"http://localhost:9000/healthz"_qs));
}

TEST_F(AnalysisClientTest, ATextThatIsNoUrlCountsAsNotSet) {
    for (const QString& text : {u""_qs, u"not a url"_qs}) {
        information.LumivaneAPIBaseURL = text;
        transport.answer(200, healthBody);
        outcomeOf(clientFor(std::nullopt).health({}));
        EXPECT_EQ(transport.requests().back().url, QUrl(u"http://127.0.0.1:8787/healthz"_qs));
    }
}

TEST_F(AnalysisClientTest, ARefusedBaseIsNeverReplaced) {
    for (const char* text :
         {"http://example.com", "http://127.0.0.1:8787/api", "ftp://127.0.0.1",
          "http://@127.0.0.1:8787", "http://127.1:8787", "http://127.0.0.1:8787#", "hello"}) {
        information.LumivaneAPIBaseURL = QString::fromUtf8(text);
        EXPECT_EQ(healthError(clientFor(std::nullopt)), Case::serviceUnavailable) << text;
        information.LumivaneAPIBaseURL.reset();
        EXPECT_EQ(healthError(clientFor(QString::fromUtf8(text))), Case::serviceUnavailable);
    }
    EXPECT_TRUE(transport.requests().empty());
}

TEST_F(AnalysisClientTest, ARefusedBaseShowsOnlyWhenItIsUsed) {
    AnalysisClient refused = clientFor(u"http://example.com"_qs);
    EXPECT_TRUE(log.lines().empty());
    const auto analyzed =
        outcomeOf(refused.analyze(textPayload(u"x"_qs), AppSettings::defaults(), u"token"_qs, {}));
    EXPECT_EQ(analyzed.errorAs<LumivaneError>(), Case::serviceUnavailable);
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(healthError(refused), Case::serviceUnavailable);
    EXPECT_EQ(log.texts("network"), std::vector<std::string>{"GET /healthz"});
}

// Time-outs

TEST_F(AnalysisClientTest, EachKindOfRequestHasItsOwnTimeout) {
    EXPECT_EQ(client.effectiveTimeout(Preset::mcq), 20s);
    EXPECT_EQ(client.effectiveTimeout(Preset::summary), 20s);
    EXPECT_EQ(client.effectiveTimeout(Preset::custom), 20s);
    EXPECT_EQ(client.effectiveTimeout(Preset::leetCode), 120s);
    EXPECT_EQ(client.effectiveHealthTimeout(), 5s);
}

TEST_F(AnalysisClientTest, RequestsCarryTheTimeoutOfTheirKind) {
    for (const Preset preset : allCases<Preset>()) {
        AppSettings settings = settingsWith(preset);
        settings.requestTimeoutSeconds = 1;
        transport.answer(200, answerBody);
        analyze(textPayload(u"text"_qs), settings);
        EXPECT_EQ(transport.requests().back().timeout, preset == Preset::leetCode ? 120s : 20s);
    }
    transport.answer(200, healthBody);
    outcomeOf(client.health({}));
    EXPECT_EQ(transport.requests().back().timeout, 5s);
}

TEST_F(AnalysisClientTest, AReadyMadeSessionServesEverything) {
    AnalysisClient ready(std::nullopt, information, HttpSession{&transport, 1500ms});
    EXPECT_EQ(ready.effectiveTimeout(Preset::summary), 1500ms);
    EXPECT_EQ(ready.effectiveTimeout(Preset::leetCode), 1500ms);
    EXPECT_EQ(ready.effectiveHealthTimeout(), 1500ms);
    transport.answer(200, answerBody);
    outcomeOf(ready.analyze(QByteArray("jpeg"), settingsWith(Preset::leetCode), u"t"_qs, {}));
    EXPECT_EQ(transport.requests().back().timeout, 1500ms);
    EXPECT_EQ(log.count("network", LogLevel::debug,
                        "POST /v1/analyze; preset=leetcode jpegBytesBucket=0 "
                        "screenTextCharsBucket=0 timeoutSeconds=1.500000"),
              1);
}

// The request

TEST_F(AnalysisClientTest, AnAnalysisIsAPostWithTwoHeaders) {
    transport.answer(200, answerBody);
    analyze(textPayload(u"text"_qs));
    const HttpRequest& request = transport.requests().at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, QUrl(u"http://127.0.0.1:8787/v1/analyze"_qs));
    const std::vector<std::pair<QByteArray, QByteArray>> expected{
        {"Content-Type", "application/json"}, {"Authorization", "Bearer token"}};
    EXPECT_EQ(request.headers, expected);
    EXPECT_EQ(request.maximumResponseBytes, 4 * 1024 * 1024);
}

TEST_F(AnalysisClientTest, AProbeIsAGetWithoutHeadersAndBody) {
    transport.answer(200, healthBody);
    outcomeOf(client.health({}));
    const HttpRequest& request = transport.requests().at(0);
    EXPECT_EQ(request.method, "GET");
    EXPECT_TRUE(request.headers.empty());
    EXPECT_TRUE(request.body.isEmpty());
    EXPECT_EQ(request.maximumResponseBytes, 4 * 1024 * 1024);
}

TEST_F(AnalysisClientTest, TheWholePayloadIsSent) {
    AnalysisPayload payload;
    payload.jpeg = "abc";
    payload.screenText = u"Words"_qs;
    payload.timings = AnalysisTimings{75000, -1, 3, 4, 0, 30000, true};
    AppSettings settings = settingsWith(Preset::custom);
    settings.customPrompt = u" Ask \"this\" "_qs;
    transport.answer(200, answerBody);
    analyze(payload, settings);
    EXPECT_EQ(transport.requests().at(0).body,
              R"({"image_data_url":"data:image/jpeg;base64,YWJj","screen_text":"Words",)"
              R"("preset":"custom","custom_prompt":" Ask \"this\" ","client_version":"0.3.0",)"
              R"("client_metrics":{"capture_ms":60000,"ocr_ms":0,"encode_ms":3,"client_ms":4,)"
              R"("image_pixel_height":20000}})");
}

TEST_F(AnalysisClientTest, AnImageAloneIsSentWithoutTextAndTimings) {
    transport.answer(200, answerBody);
    outcomeOf(client.analyze(QByteArray("abc"), AppSettings::defaults(), u"token"_qs, {}));
    EXPECT_EQ(transport.requests().at(0).body,
              R"({"image_data_url":"data:image/jpeg;base64,YWJj","preset":"summary",)"
              R"("client_version":"0.3.0"})");
}

TEST_F(AnalysisClientTest, TextOfWhiteSpaceAloneIsLeftOut) {
    for (const QString& text : {u""_qs, u" \t\n\r "_qs, u"\u00a0\u2003\u2028"_qs}) {
        transport.answer(200, answerBody);
        analyze(textPayload(text));
        EXPECT_FALSE(sentBody().contains("screen_text"));
    }
}

TEST_F(AnalysisClientTest, OtherTextKeepsItsBlanks) {
    transport.answer(200, answerBody);
    analyze(textPayload(u"  \n words \t"_qs));
    EXPECT_EQ(sentBody().at("screen_text").get<std::string>(), "  \n words \t");
}

TEST_F(AnalysisClientTest, TheCustomPromptGoesWithItsPresetOnly) {
    for (const Preset preset : allCases<Preset>()) {
        AppSettings settings = settingsWith(preset);
        settings.customPrompt = u"Prompt"_qs;
        transport.answer(200, answerBody);
        analyze(textPayload(u"text"_qs), settings);
        EXPECT_EQ(sentBody().contains("custom_prompt"), preset == Preset::custom);
    }
    AppSettings settings = settingsWith(Preset::custom);
    settings.customPrompt = u""_qs;
    transport.answer(200, answerBody);
    analyze(textPayload(u"text"_qs), settings);
    EXPECT_EQ(sentBody().at("custom_prompt").get<std::string>(), "");
}

TEST_F(AnalysisClientTest, TheVersionIsTheApplicationsOwn) {
    information.CFBundleShortVersionString = u"9.8.7"_qs;
    AnalysisClient newer(std::nullopt, information, transport);
    transport.answer(200, answerBody);
    outcomeOf(newer.analyze(QByteArray("x"), AppSettings::defaults(), u"t"_qs, {}));
    EXPECT_EQ(sentBody().at("client_version").get<std::string>(), "9.8.7");
}

TEST_F(AnalysisClientTest, SizesAreLoggedInBands) {
    AnalysisPayload payload = textPayload(QString(1499, u'é'));
    payload.jpeg = QByteArray(20000, 'j');
    transport.answer(200, answerBody);
    analyze(payload);
    EXPECT_EQ(log.texts("network"),
              (std::vector<std::string>{"POST /v1/analyze; preset=summary jpegBytesBucket=16384 "
                                        "screenTextCharsBucket=1000 timeoutSeconds=20.000000",
                                        "HTTP response received; status=200"}));
    EXPECT_EQ(log.lines().at(0).level, LogLevel::debug);
    EXPECT_EQ(log.lines().at(1).level, LogLevel::debug);
}

TEST_F(AnalysisClientTest, LoggedCharactersAreThoseThatUsersSee) {
    transport.answer(200, answerBody);
    analyze(textPayload(u"e\u0301"_qs.repeated(499)));
    EXPECT_EQ(log.countStartingWith("POST /v1/analyze; preset=summary jpegBytesBucket=0 "
                                    "screenTextCharsBucket=0 "),
              1);
}

// Answers

TEST_F(AnalysisClientTest, AnAnswerIsHandedOver) {
    transport.answer(200, R"({"request_id":"r","result":"B","result_kind":"choice",)"
                          R"("question_title":"T","answer_status":"live_unvalidated"})");
    EXPECT_EQ(analyze(textPayload(u"text"_qs)).value,
              (AnalyzeResponse{u"r"_qs, u"B"_qs, ResultKind::choice, u"T"_qs,
                               LeetCodeAnswerStatus::liveUnvalidated}));
    transport.answer(200, healthBody);
    EXPECT_EQ(outcomeOf(client.health({})).value,
              (HealthResponse{u"ok"_qs, u"1.2.3"_qs, std::nullopt}));
}

TEST_F(AnalysisClientTest, EveryStatusOf200To299Passes) {
    for (const int status : {200, 201, 204, 299}) {
        transport.answer(status, answerBody);
        EXPECT_TRUE(analyze(textPayload(u"text"_qs)).value) << status;
    }
    for (const int status : {0, 100, 199, 300, 302, 304}) {
        EXPECT_EQ(errorOfAnalyzing(status, answerBody), Case::serviceUnavailable) << status;
    }
}

TEST_F(AnalysisClientTest, AnAnswerThatDoesNotDecodeIsInvalid) {
    for (const QByteArray& body :
         {QByteArray(), QByteArray("garbage"), envelopeBody("x"),
          QByteArray(R"({"request_id":"r","result":"x","result_kind":"table"})"),
          QByteArray(answerBody) + "x", QByteArray("[").repeated(50'000)}) {
        EXPECT_EQ(errorOfAnalyzing(200, body), Case::invalidResponse);
    }
    EXPECT_EQ(log.count("network", LogLevel::error, "Could not decode analysis response"), 6);
}

TEST_F(AnalysisClientTest, AProbeThatDoesNotDecodeIsInvalid) {
    transport.answer(200, envelopeBody("x"));
    EXPECT_EQ(healthError(client), Case::invalidResponse);
    EXPECT_EQ(log.texts("network").back(), "Could not decode health response");
    EXPECT_EQ(log.lines().back().level, LogLevel::error);
}

TEST_F(AnalysisClientTest, ABodyThatIsTooLongIsInvalid) {
    transport.fail(TransportError(Kind::bodyTooLarge, 0));
    EXPECT_EQ(analyze(textPayload(u"x"_qs)).errorAs<LumivaneError>(), Case::invalidResponse);
    EXPECT_EQ(log.texts("network").back(), "Could not decode analysis response");
    transport.fail(TransportError(Kind::bodyTooLarge, 0));
    EXPECT_EQ(healthError(client), Case::invalidResponse);
    EXPECT_EQ(log.texts("network").back(), "Could not decode health response");
}

TEST_F(AnalysisClientTest, AnAnswerThatIsNotHttpIsInvalid) {
    HttpResponse response;
    response.isHttp = false;
    response.status = 200;
    response.body = answerBody;
    transport.answer(response);
    EXPECT_EQ(analyze(textPayload(u"x"_qs)).errorAs<LumivaneError>(), Case::invalidResponse);
    EXPECT_EQ(log.texts("network").back(), "Received a non-HTTP response");
    EXPECT_EQ(log.lines().back().level, LogLevel::error);
    EXPECT_EQ(log.countStartingWith("HTTP response received"), 0);
}

TEST_F(AnalysisClientTest, A401SaysToLogInOrThatTheDeviceWasEvicted) {
    EXPECT_EQ(errorOfAnalyzing(401, envelopeBody("device_evicted")), Case::deviceEvicted);
    EXPECT_EQ(errorOfAnalyzing(401, envelopeBody("expired")), Case::authenticationRequired);
    EXPECT_EQ(errorOfAnalyzing(401, envelopeBody("DEVICE_EVICTED")), Case::authenticationRequired);
    EXPECT_EQ(errorOfAnalyzing(401, "Unauthorized"), Case::authenticationRequired);
    EXPECT_EQ(errorOfAnalyzing(401, R"({"error":{"code":"device_evicted","message":"m"}})"),
              Case::authenticationRequired);
    transport.answer(401, envelopeBody("device_evicted"));
    EXPECT_EQ(healthError(client), Case::deviceEvicted);
}

TEST_F(AnalysisClientTest, OtherFailuresCarryTheServicesMessageOrNone) {
    for (const int status : {302, 400, 403, 422, 429, 500, 503}) {
        EXPECT_EQ(errorOfAnalyzing(status, envelopeBody("device_evicted", "Full")),
                  LumivaneError::server(u"Full"_qs))
            << status;
        EXPECT_EQ(errorOfAnalyzing(status, "plain text"), Case::serviceUnavailable) << status;
    }
    EXPECT_EQ(errorOfAnalyzing(503, R"({"error":{"code":"c","message":"m"}})"),
              Case::serviceUnavailable);
}

TEST_F(AnalysisClientTest, AFailedStatusIsLoggedTwice) {
    errorOfAnalyzing(503, "plain");
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1], (test::LogCapture::Line{"network", LogLevel::debug,
                                                "HTTP response received; status=503"}));
    EXPECT_EQ(lines[2], (test::LogCapture::Line{"network", LogLevel::error,
                                                "API request failed; status=503"}));
}

TEST_F(AnalysisClientTest, AServersMessageIsShownWithoutSecrets) {
    const auto error = errorOfAnalyzing(400, envelopeBody("c", "key sk-abc_123 and Bearer xyz.1"));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->errorDescription(), u"key [REDACTED] and Bearer [REDACTED]"_qs);
}

// Failures on the way

TEST_F(AnalysisClientTest, EveryTransportFailureOfAnAnalysisIsOneError) {
    for (const Kind kind : {Kind::timedOut, Kind::failed}) {
        transport.fail(TransportError(kind, 7));
        EXPECT_EQ(analyze(textPayload(u"x"_qs)).errorAs<LumivaneError>(), Case::serviceUnavailable);
    }
    transport.fail(std::runtime_error("CANARY"));
    EXPECT_EQ(analyze(textPayload(u"x"_qs)).errorAs<LumivaneError>(), Case::serviceUnavailable);
    EXPECT_EQ(log.count("network", LogLevel::error, "Analysis transport failed"), 3);
    EXPECT_FALSE(log.holds("CANARY"));
}

TEST_F(AnalysisClientTest, NothingIsSentTwice) {
    transport.fail(TransportError(Kind::failed, 2));
    transport.answer(200, answerBody);
    analyze(textPayload(u"x"_qs));
    EXPECT_EQ(transport.requests().size(), 1U);
    outcomeOf(client.health({}));
    EXPECT_EQ(transport.requests().size(), 2U);
}

TEST_F(AnalysisClientTest, ATransfersCancellationIsACancellation) {
    transport.fail(TransportError(Kind::cancelled, 5));
    const auto outcome = analyze(textPayload(u"x"_qs));
    EXPECT_TRUE(outcome.isCancelled);
    EXPECT_EQ(log.texts("network").back(), "Analysis request was cancelled");
    EXPECT_EQ(log.lines().back().level, LogLevel::info);
}

TEST_F(AnalysisClientTest, ACancelledAnalysisEndsItsTransferAndSaysNothing) {
    std::stop_source stop;
    const auto outcome = test::watch(
        client.analyze(textPayload(u"x"_qs), AppSettings::defaults(), u"t"_qs, stop.get_token()));
    ASSERT_EQ(transport.underWay(), 1);
    stop.request_stop();
    test::drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_EQ(transport.underWay(), 0);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(AnalysisClientTest, AnAnalysisCancelledBeforehandIsACancellation) {
    std::stop_source stop;
    stop.request_stop();
    transport.answer(200, answerBody);
    EXPECT_TRUE(outcomeOf(client.analyze(textPayload(u"x"_qs), AppSettings::defaults(), u"t"_qs,
                                         stop.get_token()))
                    .isCancelled);
}

TEST_F(AnalysisClientTest, AProbesTransportFailureIsLoggedWithItsCode) {
    for (const Kind kind : {Kind::failed, Kind::timedOut, Kind::cancelled}) {
        transport.fail(TransportError(kind, 42));
        EXPECT_EQ(healthError(client), Case::serviceUnavailable);
    }
    EXPECT_EQ(log.count("network", LogLevel::error, "Service health transport failed; code=42"), 3);
    transport.fail(std::runtime_error("CANARY"));
    EXPECT_EQ(healthError(client), Case::serviceUnavailable);
    EXPECT_EQ(log.texts("network").back(), "Service health transport failed");
    EXPECT_FALSE(log.holds("CANARY"));
}

TEST_F(AnalysisClientTest, ACancelledProbeIsOneThatDidNotReachTheService) {
    std::stop_source stop;
    const auto outcome = test::watch(client.health(stop.get_token()));
    stop.request_stop();
    test::drainEvents();
    EXPECT_EQ(outcome->errorAs<LumivaneError>(), Case::serviceUnavailable);
    EXPECT_EQ(log.count("network", LogLevel::error, "Service health transport failed"), 1);
    EXPECT_EQ(transport.underWay(), 0);
}

TEST_F(AnalysisClientTest, CallsDoNotWaitForEachOther) {
    const auto first = transport.hold();
    const auto second = transport.hold();
    const auto analysis =
        test::watch(client.analyze(QByteArray("x"), AppSettings::defaults(), u"t"_qs, {}));
    const auto probe = test::watch(client.health({}));
    EXPECT_EQ(transport.underWay(), 2);
    HttpResponse response;
    response.status = 200;
    response.body = healthBody;
    second.resolve(response);
    test::drainEvents();
    EXPECT_TRUE(probe->value);
    EXPECT_FALSE(analysis->hasEnded());
    response.body = answerBody;
    first.resolve(response);
    test::drainEvents();
    EXPECT_TRUE(analysis->value);
}

TEST_F(AnalysisClientTest, ACallOutlivesItsClient) {
    const auto answer = transport.hold();
    std::optional<AnalysisClient> shortLived(std::in_place, std::nullopt, information, transport);
    const auto analysis =
        test::watch(shortLived->analyze(QByteArray("x"), AppSettings::defaults(), u"t"_qs, {}));
    shortLived.reset();
    HttpResponse response;
    response.status = 200;
    response.body = answerBody;
    answer.resolve(response);
    test::drainEvents();
    EXPECT_TRUE(analysis->value);
}

TEST_F(AnalysisClientTest, NothingThatUsersSeeReachesALog) {
    AppSettings settings = settingsWith(Preset::custom);
    settings.customPrompt = u"CANARY-prompt"_qs;
    AnalysisPayload payload = textPayload(u"CANARY-text"_qs);
    payload.jpeg = "CANARY-jpeg";
    const QByteArray result =
        R"({"request_id":"CANARY-id","result":"CANARY-answer","result_kind":"text"})";
    const QByteArray failure =
        R"({"error":{"code":"CANARY-code","message":"CANARY-message","request_id":"CANARY-id"}})";
    const auto run = [&](int status, const QByteArray& body) {
        transport.answer(status, body);
        outcomeOf(client.analyze(payload, settings, u"CANARY-token"_qs, {}));
        transport.answer(status, body);
        outcomeOf(client.health({}));
    };
    run(200, result);
    run(200, failure);
    run(200, "CANARY-garbage");
    run(401, failure);
    run(500, failure);
    run(503, "CANARY-plain");
    EXPECT_GE(log.lines().size(), 24U);
    EXPECT_FALSE(log.holds("CANARY"));
    EXPECT_FALSE(log.holds(QByteArray("CANARY").toBase64().toStdString()));
    EXPECT_FALSE(log.holds("Bearer"));
}

} // namespace lumivane
