#include "service/AnalysisClient.h"

#include "async/Cancelled.h"
#include "domain/Characters.h"
#include "domain/LumivaneError.h"
#include "records/APIErrorEnvelope.h"
#include "service/AnalysisCoding.h"
#include "telemetry/LogBand.h"
#include "telemetry/LumivaneLog.h"

#include <utility>

namespace lumivane {

namespace {

using Case = LumivaneError::Case;

std::optional<QString> usableText(std::optional<QString> text) {
    return text && !text->trimmed().isEmpty() ? std::move(text) : std::nullopt;
}

std::optional<APIErrorEnvelope> envelope(const QByteArray& body) {
    try {
        return decodeJson<APIErrorEnvelope>(body);
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

void checkResponse(const HttpResponse& response) {
    if (!response.isHttp) {
        LumivaneLog::network.error("Received a non-HTTP response");
        throw LumivaneError(Case::invalidResponse);
    }
    const std::int64_t status = response.status;
    LumivaneLog::network.debug("HTTP response received; status=%{public}ld", status);
    if (status >= 200 && status <= 299) {
        return;
    }
    LumivaneLog::network.error("API request failed; status=%{public}ld", status);
    const auto failure = envelope(response.body);
    if (status == 401) {
        const bool isEvicted = failure && failure->error.code == u"device_evicted";
        throw LumivaneError(isEvicted ? Case::deviceEvicted : Case::authenticationRequired);
    }
    if (failure) {
        throw LumivaneError::server(failure->error.message);
    }
    throw LumivaneError(Case::serviceUnavailable);
}

[[noreturn]] void failUndecoded(LogFormat<> line) {
    LumivaneLog::network.error(line);
    throw LumivaneError(Case::invalidResponse);
}

template <typename Record>
Record decodeBody(const HttpResponse& response, LogFormat<> failureLine) {
    try {
        return decodeJson<Record>(response.body);
    } catch (const DecodingError&) {
        failUndecoded(failureLine);
    }
}

} // namespace

AnalysisClient::AnalysisClient(const std::optional<QString>& baseURL,
                               const ApplicationInformation& information, HttpTransport& transport)
    : AnalysisClient(baseURL, information, {&transport, standardTimeout},
                     {&transport, leetCodeTimeout}, {&transport, healthTimeout}) {}

AnalysisClient::AnalysisClient(const std::optional<QString>& baseURL,
                               const ApplicationInformation& information, HttpSession session)
    : AnalysisClient(baseURL, information, session, session, session) {}

AnalysisClient::AnalysisClient(const std::optional<QString>& baseURL,
                               const ApplicationInformation& information, HttpSession session,
                               HttpSession leetCodeSession, HttpSession healthSession)
    : m_base(ServiceBase::choose(baseURL, information))
    , m_clientVersion(information.CFBundleShortVersionString.value_or(u"0.3.0"_qs))
    , m_session(session)
    , m_leetCodeSession(leetCodeSession)
    , m_healthSession(healthSession) {}

std::chrono::milliseconds AnalysisClient::effectiveTimeout(Preset preset) const {
    return sessionFor(preset).timeoutIntervalForRequest;
}

std::chrono::milliseconds AnalysisClient::effectiveHealthTimeout() const {
    return m_healthSession.timeoutIntervalForRequest;
}

const HttpSession& AnalysisClient::sessionFor(Preset preset) const {
    return preset == Preset::leetCode ? m_leetCodeSession : m_session;
}

QCoro::Task<HealthResponse> AnalysisClient::health(std::stop_token stop) {
    LumivaneLog::network.debug("GET /healthz");
    if (!m_base) {
        throw LumivaneError(Case::serviceUnavailable);
    }
    HttpRequest request;
    request.method = "GET";
    request.url = m_base->endpoint(u"healthz"_qs);
    request.timeout = m_healthSession.timeoutIntervalForRequest;
    request.maximumResponseBytes = maximumResponseBytes;
    try {
        const HttpResponse response =
            co_await m_healthSession.transport->send(std::move(request), stop);
        checkResponse(response);
        co_return decodeBody<HealthResponse>(response, "Could not decode health response");
    } catch (const LumivaneError&) {
        throw;
    } catch (const TransportError& error) {
        if (error.kind == TransportError::Kind::bodyTooLarge) {
            failUndecoded("Could not decode health response");
        }
        LumivaneLog::network.error("Service health transport failed; code=%{public}ld", error.code);
    } catch (const Cancelled&) {
        // A probe that nobody waits for any longer is one more that did not reach the service.
        LumivaneLog::network.error("Service health transport failed");
    } catch (const std::exception&) {
        LumivaneLog::network.error("Service health transport failed");
    }
    throw LumivaneError(Case::serviceUnavailable);
}

QCoro::Task<AnalyzeResponse> AnalysisClient::analyze(AnalysisPayload payload, AppSettings settings,
                                                     SecretText accessToken, std::stop_token stop) {
    if (!m_base) {
        throw LumivaneError(Case::serviceUnavailable);
    }
    payload.screenText = usableText(std::move(payload.screenText));
    HttpTransport& transport = *sessionFor(settings.preset).transport;
    // Kept here as well, so that it can be overwritten once the transport has let go of its own.
    const SecretBytes authorization = SecretBytes::bearer(accessToken);
    HttpRequest request = analyzeRequest(payload, settings, authorization);
    try {
        const HttpResponse response = co_await transport.send(std::move(request), stop);
        checkResponse(response);
        co_return decodeBody<AnalyzeResponse>(response, "Could not decode analysis response");
    } catch (const LumivaneError&) {
        throw;
    } catch (const TransportError& error) {
        if (error.kind == TransportError::Kind::cancelled) {
            LumivaneLog::network.info("Analysis request was cancelled");
            throw Cancelled{};
        }
        if (error.kind == TransportError::Kind::bodyTooLarge) {
            failUndecoded("Could not decode analysis response");
        }
        LumivaneLog::network.error("Analysis transport failed");
    } catch (const std::exception&) {
        LumivaneLog::network.error("Analysis transport failed");
    }
    throw LumivaneError(Case::serviceUnavailable);
}

HttpRequest AnalysisClient::analyzeRequest(const AnalysisPayload& payload,
                                           const AppSettings& settings,
                                           const SecretBytes& authorization) const {
    const std::chrono::milliseconds timeout = effectiveTimeout(settings.preset);
    const std::int64_t jpegBytes = payload.jpeg ? payload.jpeg->size() : 0;
    const std::int64_t textCharacters =
        payload.screenText ? characterCount(*payload.screenText) : 0;
    LumivaneLog::network.debug("POST /v1/analyze; preset=%{public}s jpegBytesBucket=%{public}ld "
                               "screenTextCharsBucket=%{public}ld timeoutSeconds=%{public}f",
                               settings.preset, LogBand::imageBytes(jpegBytes),
                               LogBand::screenTextChars(textCharacters),
                               std::chrono::duration<double>(timeout).count());

    AnalyzeRequest record;
    if (payload.jpeg) {
        record.imageDataURL = JpegDataURL{*payload.jpeg};
    }
    record.screenText = payload.screenText;
    record.preset = settings.preset;
    if (settings.preset == Preset::custom) {
        record.customPrompt = settings.customPrompt;
    }
    record.clientVersion = m_clientVersion;
    if (payload.timings) {
        record.clientMetrics = payload.timings->clientMetrics();
    }

    HttpRequest request;
    request.method = "POST";
    request.url = m_base->endpoint(u"v1/analyze"_qs);
    request.headers = {{"Content-Type", "application/json"},
                       {"Authorization", authorization.share()}};
    request.body = encodeAnalyzeRequest(record);
    request.timeout = timeout;
    request.maximumResponseBytes = maximumResponseBytes;
    return request;
}

} // namespace lumivane
