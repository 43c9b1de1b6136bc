#include "service/AnalysisCoding.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

AnalyzeRequest fullRequest() {
    AnalyzeRequest request;
    request.imageDataURL = JpegDataURL{QByteArray("\xff\xd8\xff\xe0", 4)};
    request.screenText = u"  é \"quoted\" / 漢\n"_qs;
    request.preset = Preset::custom;
    request.customPrompt = u""_qs;
    request.clientVersion = u"0.3.0"_qs;
    request.clientMetrics = ClientMetrics{1, 2, 3, 4, 1024, 640};
    return request;
}

template <typename Record>
bool fails(QByteArrayView body) {
    try {
        decodeJson<Record>(body);
    } catch (const DecodingError&) {
        return true;
    }
    return false;
}

constexpr const char* fullResponse =
    R"({"request_id":"r-1","result":"Two lines","result_kind":"leetcode",)"
    R"("question_title":"Two Sum","answer_status":"memory_validated"})";

/// The text behind the data URL's prefix.
QByteArray imagePart(const QByteArray& jpeg) {
    AnalyzeRequest request;
    request.imageDataURL = JpegDataURL{jpeg};
    const Json body = parseJson(encodeAnalyzeRequest(request), {.maximumBytes = 100'000'000});
    return QByteArray::fromStdString(body.at("image_data_url").get<std::string>());
}

} // namespace

TEST(AnalyzeRequestCoding, WritesItsKeysInTheirOrder) {
    EXPECT_EQ(encodeAnalyzeRequest(fullRequest()),
              R"({"image_data_url":"data:image/jpeg;base64,/9j/4A==",)"
              R"("screen_text":"  é \"quoted\" / 漢\n","preset":"custom","custom_prompt":"",)"
              R"("client_version":"0.3.0","client_metrics":{"capture_ms":1,"ocr_ms":2,)"
              R"("encode_ms":3,"client_ms":4,"image_pixel_width":1024,)"
              R"("image_pixel_height":640}})");
}

TEST(AnalyzeRequestCoding, LeavesAbsentKeysOut) {
    AnalyzeRequest request;
    request.clientVersion = u"1"_qs;
    EXPECT_EQ(encodeAnalyzeRequest(request), R"({"preset":"summary","client_version":"1"})");
    request.imageDataURL = JpegDataURL{"abc"};
    EXPECT_EQ(encodeAnalyzeRequest(request), R"({"image_data_url":"data:image/jpeg;base64,YWJj",)"
                                             R"("preset":"summary","client_version":"1"})");
}

TEST(AnalyzeRequestCoding, TimesAreAlwaysThereAndSizesOnlyWhenKnown) {
    AnalyzeRequest request;
    request.clientVersion = u"1"_qs;
    request.clientMetrics = AnalysisTimings().clientMetrics();
    EXPECT_EQ(encodeAnalyzeRequest(request),
              R"({"preset":"summary","client_version":"1","client_metrics":)"
              R"({"capture_ms":0,"ocr_ms":0,"encode_ms":0,"client_ms":0}})");
}

TEST(AnalyzeRequestCoding, TimingsGoOutHeldToTheirLimits) {
    AnalysisTimings timings;
    timings.captureMS = 75000;
    timings.ocrMS = -5;
    timings.encodeMS = 60000;
    timings.clientMS = 60001;
    timings.imagePixelWidth = 30000;
    timings.imagePixelHeight = -1;
    AnalyzeRequest request;
    request.clientMetrics = timings.clientMetrics();
    const Json metrics = parseJson(encodeAnalyzeRequest(request)).at("client_metrics");
    EXPECT_EQ(writeJson(metrics), R"({"capture_ms":60000,"ocr_ms":0,"encode_ms":60000,)"
                                  R"("client_ms":60000,"image_pixel_width":20000})");
}

TEST(AnalyzeRequestCoding, EveryPresetHasItsWireName) {
    const std::vector<QByteArray> names{"mcq", "summary", "custom", "leetcode"};
    for (const Preset preset : allCases<Preset>()) {
        AnalyzeRequest request;
        request.preset = preset;
        EXPECT_TRUE(encodeAnalyzeRequest(request).startsWith(
            "{\"preset\":\"" + names[static_cast<std::size_t>(preset)] + "\","));
    }
}

TEST(AnalyzeRequestCoding, PicturesOfEverySizeAreStandardBase64WithoutBreaks) {
    QByteArray jpeg;
    for (int index = 0; index < 200'000; ++index) {
        jpeg += static_cast<char>(index * 31 + index / 251);
    }
    for (const qsizetype size :
         {qsizetype(0), qsizetype(1), qsizetype(2), qsizetype(3), qsizetype(49151),
          qsizetype(49152), qsizetype(49153), qsizetype(98304), qsizetype(98305), jpeg.size()}) {
        const QByteArray part = jpeg.left(size);
        EXPECT_EQ(imagePart(part), "data:image/jpeg;base64," + part.toBase64()) << size;
    }
}

TEST(AnalyzeRequestCoding, TheBodyIsBuiltInOnePiece) {
    AnalyzeRequest request = fullRequest();
    request.imageDataURL = JpegDataURL{QByteArray(1'000'000, 'j')};
    const QByteArray body = encodeAnalyzeRequest(request);
    // Room for exactly what was announced: a body that had to grow would have more.
    EXPECT_LT(body.capacity() - body.size(), 64);
}

TEST(AnalyzeResponseCoding, ReadsAllFields) {
    EXPECT_EQ(decodeJson<AnalyzeResponse>(fullResponse),
              (AnalyzeResponse{u"r-1"_qs, u"Two lines"_qs, ResultKind::leetCode, u"Two Sum"_qs,
                               LeetCodeAnswerStatus::memoryValidated}));
}

TEST(AnalyzeResponseCoding, TitleAndStatusMayBeAbsentOrNull) {
    const AnalyzeResponse expected{u"r"_qs, u""_qs, ResultKind::text, std::nullopt, std::nullopt};
    EXPECT_EQ(decodeJson<AnalyzeResponse>(R"({"request_id":"r","result":"","result_kind":"text"})"),
              expected);
    EXPECT_EQ(decodeJson<AnalyzeResponse>(
                  R"({"request_id":"r","result":"","result_kind":"text","question_title":null,)"
                  R"("answer_status":null,"extra":{"deep":[1]}})"),
              expected);
}

TEST(AnalyzeResponseCoding, AnUnknownKindOrStatusFailsTheWhole) {
    EXPECT_TRUE(fails<AnalyzeResponse>(R"({"request_id":"r","result":"","result_kind":"table"})"));
    EXPECT_TRUE(fails<AnalyzeResponse>(R"({"request_id":"r","result":"","result_kind":"Text"})"));
    EXPECT_TRUE(fails<AnalyzeResponse>(
        R"({"request_id":"r","result":"","result_kind":"text","answer_status":"validated"})"));
    for (const auto& [name, kind] :
         std::vector<std::pair<QByteArray, ResultKind>>{{"choice", ResultKind::choice},
                                                        {"answers", ResultKind::answers},
                                                        {"text", ResultKind::text},
                                                        {"leetcode", ResultKind::leetCode}}) {
        EXPECT_EQ(decodeJson<AnalyzeResponse>(R"({"request_id":"r","result":"","result_kind":")" +
                                              name + "\"}")
                      .resultKind,
                  kind);
    }
}

TEST(AnalyzeResponseCoding, RequiredKeysAreThereAndOfTheirType) {
    const Json full = parseJson(fullResponse);
    for (const char* key : {"request_id", "result", "result_kind"}) {
        Json changed = full;
        changed.erase(key);
        EXPECT_TRUE(fails<AnalyzeResponse>(writeJson(changed))) << key;
        for (const Json& value : {Json(nullptr), Json(1), Json(true), Json::array()}) {
            changed = full;
            changed[key] = value;
            EXPECT_TRUE(fails<AnalyzeResponse>(writeJson(changed))) << key << value;
        }
    }
    for (const char* key : {"question_title", "answer_status"}) {
        Json changed = full;
        changed[key] = 1;
        EXPECT_TRUE(fails<AnalyzeResponse>(writeJson(changed))) << key;
    }
}

TEST(AnalyzeResponseCoding, AnythingButOneObjectFails) {
    for (const char* body : {"", "null", "[]", "\"ok\"", "<html>", "{", R"([{"result":"x"}])"}) {
        EXPECT_TRUE(fails<AnalyzeResponse>(body)) << body;
    }
    EXPECT_TRUE(fails<AnalyzeResponse>(QByteArray(fullResponse) + "x"));
    EXPECT_TRUE(fails<AnalyzeResponse>(QByteArray("[").repeated(100'000)));
}

TEST(HealthResponseCoding, AnAbsentFlagIsNotFalse) {
    EXPECT_EQ(decodeJson<HealthResponse>(R"({"status":"ok","version":"1.2"})"),
              (HealthResponse{u"ok"_qs, u"1.2"_qs, std::nullopt}));
    EXPECT_EQ(decodeJson<HealthResponse>(R"({"status":"ok","version":"1","leetcode_ready":null})")
                  .leetCodeReady,
              std::nullopt);
    EXPECT_EQ(decodeJson<HealthResponse>(R"({"status":"ok","version":"1","leetcode_ready":false})")
                  .leetCodeReady,
              false);
    EXPECT_EQ(decodeJson<HealthResponse>(R"({"status":"ok","version":"1","leetcode_ready":true})")
                  .leetCodeReady,
              true);
}

TEST(HealthResponseCoding, FailsOnWhatIsMissingOrOfTheWrongType) {
    EXPECT_TRUE(fails<HealthResponse>(R"({"status":"ok"})"));
    EXPECT_TRUE(fails<HealthResponse>(R"({"version":"1"})"));
    EXPECT_TRUE(fails<HealthResponse>(R"({"status":true,"version":"1"})"));
    EXPECT_TRUE(fails<HealthResponse>(R"({"status":"ok","version":1})"));
    EXPECT_TRUE(fails<HealthResponse>(R"({"status":"ok","version":"1","leetcode_ready":1})"));
    EXPECT_TRUE(fails<HealthResponse>(R"({"status":"ok","version":"1","leetcode_ready":"true"})"));
}

} // namespace lumivane
