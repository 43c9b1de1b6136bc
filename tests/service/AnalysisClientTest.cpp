#include "service/AnalysisClientFixture.h"

namespace lumivane {

class AnalysisClientTest : public AnalysisClientFixture {};

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
    const auto analyzed = outcomeOf(
        refused.analyze(textPayload(u"x"_qs), AppSettings::defaults(), SecretText("token"), {}));
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
    outcomeOf(
        ready.analyze(QByteArray("jpeg"), settingsWith(Preset::leetCode), SecretText("t"), {}));
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
    outcomeOf(client.analyze(QByteArray("abc"), AppSettings::defaults(), SecretText("token"), {}));
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
    outcomeOf(newer.analyze(QByteArray("x"), AppSettings::defaults(), SecretText("t"), {}));
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

} // namespace lumivane
