#include "service/AnalysisCoding.h"

#include <algorithm>

namespace lumivane {

namespace {

constexpr QByteArrayView imageStart = R"({"image_data_url":"data:image/jpeg;base64,)";
constexpr QByteArrayView imageEnd = R"(",)";

Json encodeMetrics(const ClientMetrics& metrics) {
    return JsonObjectWriter()
        .write("capture_ms", metrics.captureMS)
        .write("ocr_ms", metrics.ocrMS)
        .write("encode_ms", metrics.encodeMS)
        .write("client_ms", metrics.clientMS)
        .writeIfPresent("image_pixel_width", metrics.imagePixelWidth)
        .writeIfPresent("image_pixel_height", metrics.imagePixelHeight)
        .take();
}

void appendBase64(QByteArray& text, const QByteArray& bytes) {
    // Whole groups of three bytes at a time, so that the pieces join and a large picture exists
    // once as bytes and once as text.
    constexpr qsizetype piece = qsizetype{3} * 16384;
    for (qsizetype start = 0; start < bytes.size(); start += piece) {
        const qsizetype length = std::min(piece, bytes.size() - start);
        text += QByteArray::fromRawData(bytes.constData() + start, length).toBase64();
    }
}

} // namespace

template <>
struct JsonCoding<ClientMetrics> {
    static Json encode(const ClientMetrics& metrics) { return encodeMetrics(metrics); }
};

QByteArray encodeAnalyzeRequest(const AnalyzeRequest& request) {
    QByteArray others = writeJson(JsonObjectWriter()
                                      .writeIfPresent("screen_text", request.screenText)
                                      .write("preset", request.preset)
                                      .writeIfPresent("custom_prompt", request.customPrompt)
                                      .write("client_version", request.clientVersion)
                                      .writeIfPresent("client_metrics", request.clientMetrics)
                                      .take());
    if (!request.imageDataURL) {
        return others;
    }
    // The picture needs no escaping and is the first key, so it is put in front as it stands.
    const QByteArray& jpeg = request.imageDataURL->jpeg;
    QByteArray body;
    body.reserve(imageStart.size() + (jpeg.size() + 2) / 3 * 4 + imageEnd.size() + others.size());
    body += imageStart;
    appendBase64(body, jpeg);
    body += imageEnd;
    body += QByteArrayView(others).sliced(1);
    return body;
}

AnalyzeResponse JsonCoding<AnalyzeResponse>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.requestID = reader.required<QString>("request_id"),
            .result = reader.required<QString>("result"),
            .resultKind = reader.required<ResultKind>("result_kind"),
            .questionTitle = reader.optional<QString>("question_title"),
            .answerStatus = reader.optional<LeetCodeAnswerStatus>("answer_status")};
}

HealthResponse JsonCoding<HealthResponse>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.status = reader.required<QString>("status"),
            .version = reader.required<QString>("version"),
            .leetCodeReady = reader.optional<bool>("leetcode_ready")};
}

} // namespace lumivane
