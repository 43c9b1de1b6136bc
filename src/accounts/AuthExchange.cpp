#include "accounts/AuthExchange.h"

#include "accounts/AuthClient.h"
#include "async/Cancelled.h"
#include "records/APIErrorEnvelope.h"

#include <utility>

namespace lumivane {

namespace {

using Case = AuthenticationError::Case;

constexpr QByteArrayView jsonType = "application/json";

bool isSuccess(int status) { return status >= 200 && status <= 299; }

/// The parts of a request that hold secrets. They are kept here as well, so that they can be
/// overwritten once the transport has let go of its own.
struct RequestSecrets {
    SecretBytes authorization{QByteArray()};
    SecretBytes body{QByteArray()};
};

RequestSecrets secretsOf(const AuthCall& call) {
    return {call.token ? SecretBytes::bearer(*call.token) : SecretBytes(QByteArray()),
            SecretBytes(call.body ? call.body->write() : QByteArray())};
}

HttpRequest baseRequest(const ServiceBase& base, const HttpSession& session,
                        const QByteArray& method, const QString& path) {
    HttpRequest request;
    request.method = method;
    request.url = base.endpoint(path);
    request.timeout = session.timeoutIntervalForRequest;
    request.maximumResponseBytes = AuthClient::maximumResponseBytes;
    return request;
}

HttpRequest requestFor(const ServiceBase& base, const HttpSession& session, const AuthCall& call,
                       const RequestSecrets& secrets) {
    HttpRequest request = baseRequest(base, session, call.method, call.path);
    request.headers = {{"Content-Type", jsonType.toByteArray()},
                       {"Accept", jsonType.toByteArray()}};
    if (call.token) {
        request.headers.emplace_back("Authorization", secrets.authorization.share());
    }
    request.body = secrets.body.share();
    return request;
}

void checkIsHttp(const HttpResponse& response) {
    if (!response.isHttp) {
        throw AuthenticationError(Case::invalidResponse);
    }
}

std::optional<Case> errorOfCode(const QByteArray& body, std::span<const AuthErrorCode> codes) {
    try {
        const QString code = decodeJson<APIErrorEnvelope>(body, accountJsonLimits).error.code;
        for (const AuthErrorCode& row : codes) {
            if (code == toLatin1(row.code)) {
                return row.error;
            }
        }
    } catch (const DecodingError&) {
        // No envelope then.
    }
    return std::nullopt;
}

void checkStatus(const HttpResponse& response, const AuthCall& call) {
    if (isSuccess(response.status)) {
        return;
    }
    if (const auto error = errorOfCode(response.body, call.codes)) {
        throw AuthenticationError(*error);
    }
    if (response.status == 401) {
        throw AuthenticationError(Case::expiredSession);
    }
    if (response.status == 409 && call.conflict) {
        throw AuthenticationError(*call.conflict);
    }
    throw AuthenticationError(Case::unavailable);
}

/// Called inside a handler: turns what went wrong into one of the two ways in which a call fails.
[[noreturn]] void rethrowFiltered() {
    try {
        throw;
    } catch (const AuthenticationError&) {
        throw;
    } catch (const TransportError& error) {
        if (error.kind == TransportError::Kind::cancelled) {
            throw Cancelled{};
        }
    } catch (const std::exception&) {
        // Its text may quote what was sent.
    }
    throw AuthenticationError(Case::unavailable);
}

const ServiceBase& required(const std::optional<ServiceBase>& base) {
    if (!base) {
        throw AuthenticationError(Case::unavailable);
    }
    return *base;
}

} // namespace

QCoro::Task<SecretBytes> AuthExchange::send(std::optional<ServiceBase> base, HttpSession session,
                                            AuthCall call, std::stop_token stop) {
    try {
        const ServiceBase& service = required(base);
        const RequestSecrets secrets = secretsOf(call);
        HttpRequest request = requestFor(service, session, call, secrets);
        HttpResponse response = co_await session.transport->send(std::move(request), stop);
        checkIsHttp(response);
        checkStatus(response, call);
        co_return SecretBytes(std::exchange(response.body, QByteArray()));
    } catch (const std::exception&) {
        rethrowFiltered();
    }
}

QCoro::Task<HttpResponse> AuthExchange::sendFilterRequest(std::optional<ServiceBase> base,
                                                          HttpSession session,
                                                          std::optional<QString> knownVersion,
                                                          SecretText token, std::stop_token stop) {
    try {
        const SecretBytes authorization = SecretBytes::bearer(token);
        HttpRequest request =
            baseRequest(required(base), session, "GET", u"v1/auth/handles/filter"_qs);
        request.maximumResponseBytes = AuthClient::maximumFilterBytes;
        request.headers = {{"Accept", jsonType.toByteArray()},
                           {"Authorization", authorization.share()}};
        if (knownVersion) {
            request.headers.emplace_back("If-None-Match", '"' + knownVersion->toUtf8() + '"');
        }
        HttpResponse response = co_await session.transport->send(std::move(request), stop);
        checkIsHttp(response);
        if (!isSuccess(response.status) && response.status != 304) {
            throw AuthenticationError(response.status == 401 ? Case::expiredSession
                                                             : Case::unavailable);
        }
        co_return response;
    } catch (const std::exception&) {
        rethrowFiltered();
    }
}

} // namespace lumivane
