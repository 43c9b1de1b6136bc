#pragma once

#include "domain/LumivaneError.h"
#include "domain/StrictJson.h"
#include "service/AnalysisClient.h"
#include "support/FakeHttpTransport.h"
#include "support/LogCapture.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

namespace lumivane {

using namespace std::chrono_literals;
using Case = LumivaneError::Case;
using Kind = TransportError::Kind;
using test::outcomeOf;

inline constexpr const char* healthBody = R"({"status":"ok","version":"1.2.3"})";
inline constexpr const char* answerBody =
    R"({"request_id":"r-1","result":"The answer","result_kind":"text"})";

inline QByteArray envelopeBody(const QByteArray& code, const QByteArray& message = "The message") {
    return R"({"error":{"code":")" + code + R"(","message":")" + message +
           R"(","request_id":"r-1"}})";
}

inline AppSettings settingsWith(Preset preset) {
    AppSettings settings;
    settings.preset = preset;
    return settings;
}

inline AnalysisPayload textPayload(const QString& text) {
    AnalysisPayload payload;
    payload.screenText = text;
    return payload;
}

/// A client over a played transport, with every log line kept.
class AnalysisClientFixture : public testing::Test {
protected:
    AnalysisClient clientFor(const std::optional<QString>& baseURL) {
        return AnalysisClient(baseURL, information, transport);
    }

    std::optional<LumivaneError> healthError(AnalysisClient probed) {
        return outcomeOf(probed.health({})).errorAs<LumivaneError>();
    }

    test::Outcome<AnalyzeResponse> analyze(AnalysisPayload payload,
                                           AppSettings settings = AppSettings::defaults()) {
        return outcomeOf(
            client.analyze(std::move(payload), std::move(settings), SecretText("token"), {}));
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

} // namespace lumivane
