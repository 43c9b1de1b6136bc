#pragma once

#include "domain/Vocabulary.h"
#include "records/AnalysisTimings.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace lumivane {

/// What a run hands to the client.
struct AnalysisPayload {
    std::optional<QByteArray> jpeg;
    std::optional<QString> screenText;
    std::optional<AnalysisTimings> timings;

    bool operator==(const AnalysisPayload&) const = default;
};

/// The service's answer.
struct AnalyzeResponse {
    QString requestID;
    QString result;
    ResultKind resultKind = ResultKind::text;
    std::optional<QString> questionTitle;
    std::optional<LeetCodeAnswerStatus> answerStatus;

    bool operator==(const AnalyzeResponse&) const = default;
};

/// How the service says it is.
struct HealthResponse {
    QString status;
    QString version;
    std::optional<bool> leetCodeReady; ///< none when the service did not say, which is not false

    bool operator==(const HealthResponse&) const = default;
};

} // namespace lumivane
