#include "server/http/ErrorEnvelope.h"

#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include <algorithm>

namespace lumivane::service {

using namespace std::chrono_literals;

HttpResponse errorResponse(int status, std::string_view code, std::string_view message,
                           std::string_view requestId) {
    boost::json::object detail;
    detail["code"] = boost::json::string_view{code.data(), code.size()};
    detail["message"] = boost::json::string_view{message.data(), message.size()};
    detail["request_id"] = boost::json::string_view{requestId.data(), requestId.size()};
    boost::json::object envelope;
    envelope["error"] = std::move(detail);
    HttpResponse response;
    response.status = status;
    response.body = boost::json::serialize(envelope);
    return response;
}

HttpResponse refusalResponse(const Refusal& refusal, std::string_view requestId) {
    HttpResponse response = errorResponse(refusal.status, refusal.code, refusal.message, requestId);
    addRefusalHeaders(response, refusal);
    return response;
}

void addRefusalHeaders(HttpResponse& response, const Refusal& refusal) {
    if (refusal.status == 401) {
        response.headers.emplace_back("WWW-Authenticate", "Bearer realm=\"lumivane\"");
    }
    const auto wait = refusal.status == 503 ? std::max(1s, refusal.retryAfter) : refusal.retryAfter;
    if (wait > 0s) {
        response.headers.emplace_back("Retry-After", std::to_string(wait.count()));
    }
}

Refusal rateLimited(std::chrono::seconds wait) {
    const std::string seconds = std::to_string(wait.count());
    return {429, "rate_limited", "Too many requests. Wait " + seconds + " s and try again.", wait};
}

Refusal internalFailure() {
    return {500, "internal_error", "The service failed on this request. Try again."};
}

} // namespace lumivane::service
