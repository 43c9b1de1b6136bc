#pragma once

#include "domain/AppSettings.h"
#include "domain/SecretText.h"
#include "service/AnalysisRecords.h"

#include <qcoro/qcorotask.h>

#include <stop_token>

namespace lumivane {

/// The analysis service. Main thread.
class AnalysisServing {
public:
    virtual ~AnalysisServing() = default;

    /// Throws LumivaneError.
    virtual QCoro::Task<HealthResponse> health(std::stop_token stop) = 0;

    /// Throws LumivaneError, or Cancelled once a stop is requested.
    virtual QCoro::Task<AnalyzeResponse> analyze(AnalysisPayload payload, AppSettings settings,
                                                 SecretText accessToken, std::stop_token stop) = 0;

    /// An image alone, without text and timings.
    QCoro::Task<AnalyzeResponse> analyze(QByteArray jpegData, AppSettings settings,
                                         SecretText accessToken, std::stop_token stop) {
        AnalysisPayload payload;
        payload.jpeg = std::move(jpegData);
        return analyze(std::move(payload), std::move(settings), std::move(accessToken),
                       std::move(stop));
    }
};

} // namespace lumivane
