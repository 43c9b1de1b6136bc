#include "service/AnalysisClientFixture.h"
#include "support/ForgetfulHttpTransport.h"
#include "support/MemoryCanary.h"

#include <stdexcept>

namespace lumivane {

class AnalysisClientOutcomeTest : public AnalysisClientFixture {};

// Answers

TEST_F(AnalysisClientOutcomeTest, AnAnswerIsHandedOver) {
    transport.answer(200, R"({"request_id":"r","result":"B","result_kind":"choice",)"
                          R"("question_title":"T","answer_status":"live_unvalidated"})");
    EXPECT_EQ(analyze(textPayload(u"text"_qs)).value,
              (AnalyzeResponse{u"r"_qs, u"B"_qs, ResultKind::choice, u"T"_qs,
                               LeetCodeAnswerStatus::liveUnvalidated}));
    transport.answer(200, healthBody);
    EXPECT_EQ(outcomeOf(client.health({})).value,
              (HealthResponse{u"ok"_qs, u"1.2.3"_qs, std::nullopt}));
}

TEST_F(AnalysisClientOutcomeTest, EveryStatusOf200To299Passes) {
    for (const int status : {200, 201, 204, 299}) {
        transport.answer(status, answerBody);
        EXPECT_TRUE(analyze(textPayload(u"text"_qs)).value) << status;
    }
    for (const int status : {0, 100, 199, 300, 302, 304}) {
        EXPECT_EQ(errorOfAnalyzing(status, answerBody), Case::serviceUnavailable) << status;
    }
}

TEST_F(AnalysisClientOutcomeTest, AnAnswerThatDoesNotDecodeIsInvalid) {
    for (const QByteArray& body :
         {QByteArray(), QByteArray("garbage"), envelopeBody("x"),
          QByteArray(R"({"request_id":"r","result":"x","result_kind":"table"})"),
          QByteArray(answerBody) + "x", QByteArray("[").repeated(50'000)}) {
        EXPECT_EQ(errorOfAnalyzing(200, body), Case::invalidResponse);
    }
    EXPECT_EQ(log.count("network", LogLevel::error, "Could not decode analysis response"), 6);
}

TEST_F(AnalysisClientOutcomeTest, AProbeThatDoesNotDecodeIsInvalid) {
    transport.answer(200, envelopeBody("x"));
    EXPECT_EQ(healthError(client), Case::invalidResponse);
    EXPECT_EQ(log.texts("network").back(), "Could not decode health response");
    EXPECT_EQ(log.lines().back().level, LogLevel::error);
}

TEST_F(AnalysisClientOutcomeTest, ABodyThatIsTooLongIsInvalid) {
    transport.fail(TransportError(Kind::bodyTooLarge, 0));
    EXPECT_EQ(analyze(textPayload(u"x"_qs)).errorAs<LumivaneError>(), Case::invalidResponse);
    EXPECT_EQ(log.texts("network").back(), "Could not decode analysis response");
    transport.fail(TransportError(Kind::bodyTooLarge, 0));
    EXPECT_EQ(healthError(client), Case::invalidResponse);
    EXPECT_EQ(log.texts("network").back(), "Could not decode health response");
}

TEST_F(AnalysisClientOutcomeTest, AnAnswerThatIsNotHttpIsInvalid) {
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

TEST_F(AnalysisClientOutcomeTest, A401SaysToLogInOrThatTheDeviceWasEvicted) {
    EXPECT_EQ(errorOfAnalyzing(401, envelopeBody("device_evicted")), Case::deviceEvicted);
    EXPECT_EQ(errorOfAnalyzing(401, envelopeBody("expired")), Case::authenticationRequired);
    EXPECT_EQ(errorOfAnalyzing(401, envelopeBody("DEVICE_EVICTED")), Case::authenticationRequired);
    EXPECT_EQ(errorOfAnalyzing(401, "Unauthorized"), Case::authenticationRequired);
    EXPECT_EQ(errorOfAnalyzing(401, R"({"error":{"code":"device_evicted","message":"m"}})"),
              Case::authenticationRequired);
    transport.answer(401, envelopeBody("device_evicted"));
    EXPECT_EQ(healthError(client), Case::deviceEvicted);
}

TEST_F(AnalysisClientOutcomeTest, OtherFailuresCarryTheServicesMessageOrNone) {
    for (const int status : {302, 400, 403, 422, 429, 500, 503}) {
        EXPECT_EQ(errorOfAnalyzing(status, envelopeBody("device_evicted", "Full")),
                  LumivaneError::server(u"Full"_qs))
            << status;
        EXPECT_EQ(errorOfAnalyzing(status, "plain text"), Case::serviceUnavailable) << status;
    }
    EXPECT_EQ(errorOfAnalyzing(503, R"({"error":{"code":"c","message":"m"}})"),
              Case::serviceUnavailable);
}

TEST_F(AnalysisClientOutcomeTest, AFailedStatusIsLoggedTwice) {
    errorOfAnalyzing(503, "plain");
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1], (test::LogCapture::Line{"network", LogLevel::debug,
                                                "HTTP response received; status=503"}));
    EXPECT_EQ(lines[2], (test::LogCapture::Line{"network", LogLevel::error,
                                                "API request failed; status=503"}));
}

TEST_F(AnalysisClientOutcomeTest, AServersMessageIsShownWithoutSecrets) {
    const auto error = errorOfAnalyzing(400, envelopeBody("c", "key sk-abc_123 and Bearer xyz.1"));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->errorDescription(), u"key [REDACTED] and Bearer [REDACTED]"_qs);
}

// Failures on the way

TEST_F(AnalysisClientOutcomeTest, EveryTransportFailureOfAnAnalysisIsOneError) {
    for (const Kind kind : {Kind::timedOut, Kind::failed}) {
        transport.fail(TransportError(kind, 7));
        EXPECT_EQ(analyze(textPayload(u"x"_qs)).errorAs<LumivaneError>(), Case::serviceUnavailable);
    }
    transport.fail(std::runtime_error("CANARY"));
    EXPECT_EQ(analyze(textPayload(u"x"_qs)).errorAs<LumivaneError>(), Case::serviceUnavailable);
    EXPECT_EQ(log.count("network", LogLevel::error, "Analysis transport failed"), 3);
    EXPECT_FALSE(log.holds("CANARY"));
}

TEST_F(AnalysisClientOutcomeTest, NoCopyOfTheTokenStaysBehind) {
    test::ForgetfulHttpTransport forgetful;
    forgetful.answer = answerBody;
    AnalysisClient forgetting(std::nullopt, information, forgetful);
    const test::MemoryCanary canary;
    {
        SecretText token = canary.secret();
        EXPECT_TRUE(canary.standsInMemory());
        EXPECT_TRUE(outcomeOf(forgetting.analyze(textPayload(u"x"_qs), AppSettings::defaults(),
                                                 std::move(token), {}))
                        .value);
    }
    EXPECT_EQ(forgetful.longestHeader, 7 + 96);
    EXPECT_FALSE(canary.standsInMemory());
}

TEST_F(AnalysisClientOutcomeTest, NothingIsSentTwice) {
    transport.fail(TransportError(Kind::failed, 2));
    transport.answer(200, answerBody);
    analyze(textPayload(u"x"_qs));
    EXPECT_EQ(transport.requests().size(), 1U);
    outcomeOf(client.health({}));
    EXPECT_EQ(transport.requests().size(), 2U);
}

TEST_F(AnalysisClientOutcomeTest, ATransfersCancellationIsACancellation) {
    transport.fail(TransportError(Kind::cancelled, 5));
    const auto outcome = analyze(textPayload(u"x"_qs));
    EXPECT_TRUE(outcome.isCancelled);
    EXPECT_EQ(log.texts("network").back(), "Analysis request was cancelled");
    EXPECT_EQ(log.lines().back().level, LogLevel::info);
}

TEST_F(AnalysisClientOutcomeTest, ACancelledAnalysisEndsItsTransferAndSaysNothing) {
    std::stop_source stop;
    const auto outcome = test::watch(client.analyze(textPayload(u"x"_qs), AppSettings::defaults(),
                                                    SecretText("t"), stop.get_token()));
    ASSERT_EQ(transport.underWay(), 1);
    stop.request_stop();
    test::drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_EQ(transport.underWay(), 0);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(AnalysisClientOutcomeTest, AnAnalysisCancelledBeforehandIsACancellation) {
    std::stop_source stop;
    stop.request_stop();
    transport.answer(200, answerBody);
    EXPECT_TRUE(outcomeOf(client.analyze(textPayload(u"x"_qs), AppSettings::defaults(),
                                         SecretText("t"), stop.get_token()))
                    .isCancelled);
}

TEST_F(AnalysisClientOutcomeTest, AProbesTransportFailureIsLoggedWithItsCode) {
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

TEST_F(AnalysisClientOutcomeTest, ACancelledProbeIsOneThatDidNotReachTheService) {
    std::stop_source stop;
    const auto outcome = test::watch(client.health(stop.get_token()));
    stop.request_stop();
    test::drainEvents();
    EXPECT_EQ(outcome->errorAs<LumivaneError>(), Case::serviceUnavailable);
    EXPECT_EQ(log.count("network", LogLevel::error, "Service health transport failed"), 1);
    EXPECT_EQ(transport.underWay(), 0);
}

TEST_F(AnalysisClientOutcomeTest, CallsDoNotWaitForEachOther) {
    const auto first = transport.hold();
    const auto second = transport.hold();
    const auto analysis =
        test::watch(client.analyze(QByteArray("x"), AppSettings::defaults(), SecretText("t"), {}));
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

TEST_F(AnalysisClientOutcomeTest, ACallOutlivesItsClient) {
    const auto answer = transport.hold();
    std::optional<AnalysisClient> shortLived(std::in_place, std::nullopt, information, transport);
    const auto analysis = test::watch(
        shortLived->analyze(QByteArray("x"), AppSettings::defaults(), SecretText("t"), {}));
    shortLived.reset();
    HttpResponse response;
    response.status = 200;
    response.body = answerBody;
    answer.resolve(response);
    test::drainEvents();
    EXPECT_TRUE(analysis->value);
}

TEST_F(AnalysisClientOutcomeTest, NothingThatUsersSeeReachesALog) {
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
        outcomeOf(client.analyze(payload, settings, SecretText("CANARY-token"), {}));
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
