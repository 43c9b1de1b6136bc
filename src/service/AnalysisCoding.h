#pragma once

#include "domain/StrictJson.h"
#include "domain/Vocabulary.h"
#include "records/AnalysisTimings.h"
#include "service/AnalysisRecords.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace lumivane {

/// A JPEG that is written as a data URL. It shares the picture's bytes; their text form comes into
/// being in the finished body only.
struct JpegDataURL {
    QByteArray jpeg;

    bool operator==(const JpegDataURL&) const = default;
};

/// What the client asks of the service.
struct AnalyzeRequest {
    std::optional<JpegDataURL> imageDataURL;
    std::optional<QString> screenText;
    Preset preset = Preset::summary;
    std::optional<QString> customPrompt;
    QString clientVersion;
    std::optional<ClientMetrics> clientMetrics;

    bool operator==(const AnalyzeRequest&) const = default;
};

/// The body of a request: its keys in their fixed order, absent ones left out, in UTF-8.
QByteArray encodeAnalyzeRequest(const AnalyzeRequest& request);

// The bodies of answers, for decodeJson. Extra keys are ignored; anything else amiss fails the
// whole body.

template <>
struct JsonCoding<AnalyzeResponse> {
    static AnalyzeResponse decode(const Json& value);
};

template <>
struct JsonCoding<HealthResponse> {
    static HealthResponse decode(const Json& value);
};

} // namespace lumivane
