#include "server/analysis/AnalyzeRecords.h"

#include "server/analysis/JpegDataUrl.h"

#include <gtest/gtest.h>

namespace lumivane::service {

namespace {

const std::string jpeg = "data:image/jpeg;base64,/9j/4AAQ";

// A body whose members are those given, between braces.
std::string body(const std::string& members) { return "{" + members + "}"; }

std::string textBody(const std::string& more = "") {
    return body(R"("screen_text":"Words","preset":"summary","client_version":"0.3.0")" + more);
}

std::pair<int, std::string> refusalOf(const std::string& text) {
    try {
        decodeAnalyzeRequest(text);
    } catch (const RecordError& error) {
        return {error.status(), error.what()};
    }
    return {0, "accepted"};
}

using Refusal = std::pair<int, std::string>;

Refusal wrong(const std::string& message) { return {422, message}; }

const Refusal accepted{0, "accepted"};

} // namespace

TEST(AnalyzeRecords, DecodesEveryField) {
    const auto request = decodeAnalyzeRequest(
        R"({"image_data_url":")" + jpeg +
        R"(","screen_text":" Words ","preset":"custom","custom_prompt":"List","client_version":"1",
        "client_metrics":{"capture_ms":1,"ocr_ms":2,"encode_ms":3,"client_ms":60000,
        "image_pixel_width":20000,"image_pixel_height":1}})");
    EXPECT_EQ(request.imageDataUrl, jpeg);
    EXPECT_EQ(request.screenText, " Words ");
    EXPECT_EQ(request.preset, Preset::custom);
    EXPECT_EQ(request.customPrompt, "List");
    EXPECT_EQ(request.clientVersion, "1");
    const ClientMetrics metrics{1, 2, 3, 60000, 20000, 1};
    EXPECT_EQ(request.clientMetrics, metrics);
}

TEST(AnalyzeRecords, OptionalsMayBeAbsentOrNullAndUnknownKeysAreIgnored) {
    for (const char* more : {"", R"(,"image_data_url":null,"custom_prompt":null)",
                             R"(,"client_metrics":null,"later":[1,{"x":2}])"}) {
        const auto request = decodeAnalyzeRequest(textBody(more));
        EXPECT_EQ(request.imageDataUrl, std::nullopt);
        EXPECT_EQ(request.customPrompt, std::nullopt);
        EXPECT_EQ(request.clientMetrics, std::nullopt);
    }
}

TEST(AnalyzeRecords, EveryPresetHasItsRawText) {
    EXPECT_EQ(presetFromRawValue("mcq"), Preset::mcq);
    EXPECT_EQ(presetFromRawValue("summary"), Preset::summary);
    EXPECT_EQ(presetFromRawValue("custom"), Preset::custom);
    EXPECT_EQ(presetFromRawValue("leetcode"), Preset::leetCode);
    EXPECT_EQ(presetFromRawValue("leetCode"), std::nullopt);
    EXPECT_EQ(resultKindFromRawValue("answers"), ResultKind::answers);
    EXPECT_EQ(resultKindFromRawValue("table"), std::nullopt);
}

TEST(AnalyzeRecords, WhatIsNoJsonIs400) {
    EXPECT_EQ(refusalOf("{"),
              Refusal(400, "The body cannot be read: it is not well-formed JSON in UTF-8."));
    EXPECT_EQ(refusalOf(R"({"preset":"mcq","preset":"mcq"})"),
              Refusal(400, "The body cannot be read: a key stands twice in one object."));
    EXPECT_EQ(refusalOf("[]"), wrong("The body must be a JSON object."));
}

TEST(AnalyzeRecords, RequiredKeysAndTheirTypes) {
    EXPECT_EQ(refusalOf(body(R"("screen_text":"W","client_version":"1")")),
              wrong("\"preset\" is missing."));
    EXPECT_EQ(refusalOf(body(R"("screen_text":"W","preset":null,"client_version":"1")")),
              wrong("\"preset\" is missing."));
    EXPECT_EQ(refusalOf(body(R"("screen_text":"W","preset":1,"client_version":"1")")),
              wrong("\"preset\" must be a string."));
    EXPECT_EQ(refusalOf(body(R"("screen_text":"W","preset":"all","client_version":"1")")),
              wrong("\"preset\" must be \"mcq\", \"summary\", \"custom\" or \"leetcode\"."));
    EXPECT_EQ(refusalOf(body(R"("screen_text":"W","preset":"mcq")")),
              wrong("\"client_version\" is missing."));
    EXPECT_EQ(refusalOf(body(R"("screen_text":"W","preset":"mcq","client_version":"")")),
              wrong("\"client_version\" must have 1 to 64 bytes."));
}

TEST(AnalyzeRecords, TextOrPictureIsNeeded) {
    EXPECT_EQ(refusalOf(body(R"("preset":"summary","client_version":"1")")),
              wrong("\"screen_text\" or \"image_data_url\" is needed; both are missing."));
    EXPECT_EQ(refusalOf(body(R"("screen_text":null,"preset":"summary","client_version":"1")")),
              wrong("\"screen_text\" or \"image_data_url\" is needed; both are missing."));
    EXPECT_EQ(refusalOf(body(R"("screen_text":" \n ","preset":"summary","client_version":"1")")),
              wrong("\"screen_text\" holds nothing but white space."));
    EXPECT_EQ(refusalOf(body(R"("screen_text":5,"preset":"summary","client_version":"1")")),
              wrong("\"screen_text\" must be a string."));
}

TEST(AnalyzeRecords, ScreenTextIsBounded) {
    const auto withText = [](std::size_t length) {
        std::string text;
        for (std::size_t index = 0; index < length; ++index) {
            text += "é";
        }
        return body("\"screen_text\":\"" + text + R"(","preset":"summary","client_version":"1")");
    };
    EXPECT_EQ(refusalOf(withText(screenTextCodePoints)), accepted);
    EXPECT_EQ(refusalOf(withText(screenTextCodePoints + 1)), wrong("\"screen_text\" is too long."));
}

TEST(AnalyzeRecords, PromptBelongsToCustomExactly) {
    const std::string base = R"("screen_text":"W","client_version":"1",)";
    EXPECT_EQ(refusalOf(body(base + R"("preset":"custom","custom_prompt":"x")")), accepted);
    EXPECT_EQ(refusalOf(body(base + R"("preset":"custom")")),
              wrong("The preset \"custom\" needs a prompt in \"custom_prompt\"."));
    EXPECT_EQ(refusalOf(body(base + R"("preset":"custom","custom_prompt":"")")),
              wrong("The preset \"custom\" needs a prompt in \"custom_prompt\"."));
    EXPECT_EQ(refusalOf(body(base + R"("preset":"mcq","custom_prompt":"x")")),
              wrong("\"custom_prompt\" belongs to the preset \"custom\" only."));
}

TEST(AnalyzeRecords, MetricsAreIntegersInRange) {
    const auto metrics = [](const std::string& members) {
        return textBody(",\"client_metrics\":{" + members + "}");
    };
    const std::string times = R"("capture_ms":0,"ocr_ms":0,"encode_ms":0)";
    EXPECT_EQ(refusalOf(metrics(times + R"(,"client_ms":0)")), accepted);
    EXPECT_EQ(refusalOf(metrics(times)), wrong("\"client_ms\" is missing."));
    for (const char* value : {"60001", "-1", "1.0", "true", "\"1\"", "9223372036854775808"}) {
        EXPECT_EQ(refusalOf(metrics(times + ",\"client_ms\":" + value)),
                  wrong("\"client_ms\" must be an integer from 0 to 60000."))
            << value;
    }
    EXPECT_EQ(refusalOf(metrics(times + R"(,"client_ms":0,"image_pixel_width":0)")),
              wrong("\"image_pixel_width\" must be an integer from 1 to 20000."));
    EXPECT_EQ(refusalOf(textBody(R"(,"client_metrics":[])")),
              wrong("\"client_metrics\" must be an object."));
}

TEST(AnalyzeRecords, RefusalsNeverRepeatValues) {
    EXPECT_EQ(refusalOf(body(R"("preset":"canary","client_version":"1")")).second.find("canary"),
              std::string::npos);
}

TEST(AnalyzeRecords, AnswersAreWrittenInTheOrderOfTheFormat) {
    AnalysisAnswer answer;
    answer.result = "Two \"lines\"\n";
    EXPECT_EQ(encodeAnalyzeResponse(answer, "id-1"),
              R"({"request_id":"id-1","result":"Two \"lines\"\n","result_kind":"text"})");
    answer.kind = ResultKind::leetCode;
    answer.questionTitle = "Sums";
    answer.answerStatus = AnswerStatus::liveUnvalidated;
    EXPECT_EQ(encodeAnalyzeResponse(answer, "i"),
              R"({"request_id":"i","result":"Two \"lines\"\n","result_kind":"leetcode",)"
              R"("question_title":"Sums","answer_status":"live_unvalidated"})");
}

TEST(JpegDataUrl, PrefixAlphabetPaddingAndFirstBytesCount) {
    const std::string prefix = "data:image/jpeg;base64,";
    for (const char* good : {"/9j/", "/9j/AAAA", "/9j/+/09", "/9j/AA==", "/9j/AAA="}) {
        EXPECT_TRUE(isJpegDataUrl(prefix + good)) << good;
    }
    for (const char* bad : {"", "/9j", "/9j/A", "iVBORw0K", "/9j/AA=A", "/9j/A===", "/9j/AA\nA",
                            "/9j/AA-_", "/9j/AB==", "/9j/AAB=", "/9j/ AAA", "/9j/===="}) {
        EXPECT_FALSE(isJpegDataUrl(prefix + bad)) << bad;
    }
    EXPECT_FALSE(isJpegDataUrl("data:image/png;base64,/9j/"));
    EXPECT_FALSE(isJpegDataUrl("DATA:image/jpeg;base64,/9j/"));
    EXPECT_FALSE(isJpegDataUrl("/9j/"));
}

} // namespace lumivane::service
