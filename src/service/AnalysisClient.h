#pragma once

#include "domain/SecretBytes.h"
#include "domain/ServiceBase.h"
#include "platform/HttpSession.h"
#include "service/AnalysisServing.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace lumivane {

/// The one object that talks to the analysis service. Made once at start; nothing in it changes.
///
/// Main thread; several calls may be under way at once, and each stands on its own even when the
/// client goes before it ends. It retries nothing, and logs statuses, codes, the preset and banded
/// sizes, never what a user sees or a server says.
class AnalysisClient final : public AnalysisServing {
public:
    static constexpr std::chrono::seconds standardTimeout{20};
    static constexpr std::chrono::seconds leetCodeTimeout{120};
    static constexpr std::chrono::seconds healthTimeout{5};

    /// A longer body of an answer is refused as `invalidResponse` and not read to its end.
    static constexpr std::int64_t maximumResponseBytes = std::int64_t{4} * 1024 * 1024;

    /// Sends everything by `transport`, with the time-out of each kind of request. The base is
    /// `baseURL`, else the one the application is set to, else the local service; one that the
    /// policy refuses is not replaced, and every call then fails with `serviceUnavailable`.
    AnalysisClient(const std::optional<QString>& baseURL, const ApplicationInformation& information,
                   HttpTransport& transport);

    /// The same with one ready-made session for all kinds of request.
    AnalysisClient(const std::optional<QString>& baseURL, const ApplicationInformation& information,
                   HttpSession session);

    /// Throws LumivaneError only: a requested stop ends it with `serviceUnavailable`.
    QCoro::Task<HealthResponse> health(std::stop_token stop) override;

    /// Throws LumivaneError, and Cancelled once a stop is requested.
    QCoro::Task<AnalyzeResponse> analyze(AnalysisPayload payload, AppSettings settings,
                                         SecretText accessToken, std::stop_token stop) override;

    using AnalysisServing::analyze;

    /// How long a request with this preset may take, from sending to the last byte.
    std::chrono::milliseconds effectiveTimeout(Preset preset) const;

    std::chrono::milliseconds effectiveHealthTimeout() const;

private:
    AnalysisClient(const std::optional<QString>& baseURL, const ApplicationInformation& information,
                   HttpSession session, HttpSession leetCodeSession, HttpSession healthSession);

    const HttpSession& sessionFor(Preset preset) const;
    HttpRequest analyzeRequest(const AnalysisPayload& payload, const AppSettings& settings,
                               const SecretBytes& authorization) const;

    std::optional<ServiceBase> m_base;
    QString m_clientVersion;
    HttpSession m_session;
    HttpSession m_leetCodeSession;
    HttpSession m_healthSession;
};

} // namespace lumivane
