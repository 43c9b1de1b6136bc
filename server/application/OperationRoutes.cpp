#include "server/application/OperationRoutes.h"

#include "server/http/ErrorEnvelope.h"

#include <boost/asio/ip/address.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

namespace lumivane::service {

namespace asio = boost::asio;

namespace {

HttpResponse health(const LeetCodeReady& leetCodeReady) {
    boost::json::object record;
    record["status"] = "ok";
    record["version"] = boost::json::string(serviceVersion().data(), serviceVersion().size());
    // A key that is absent is not the same as false.
    if (const auto isReady = leetCodeReady()) {
        record["leetcode_ready"] = *isReady;
    }
    HttpResponse response;
    response.body = boost::json::serialize(record);
    return response;
}

// A proxy on this machine asks from a loopback address, too, and says for whom.
bool asksDirectly(const HttpRequest& request) {
    boost::system::error_code error;
    const auto address = asio::ip::make_address(request.clientAddress, error);
    return !error && address.is_loopback() && !request.head.hasProxyFields;
}

HttpResponse metricsText(const ServerMetrics& metrics, const HttpRequest& request) {
    if (!asksDirectly(request)) {
        return errorResponse(404, "not_found", "There is nothing at this address.",
                             request.requestId);
    }
    HttpResponse response;
    response.contentType = "text/plain; version=0.0.4; charset=utf-8";
    response.body = metrics.text();
    return response;
}

asio::awaitable<HttpResponse> answer(HttpResponse response) { co_return response; }

} // namespace

std::string_view serviceVersion() { return LUMIVANE_SERVICE_VERSION; }

std::vector<Route> operationRoutes(const ServerMetrics& metrics, LeetCodeReady leetCodeReady) {
    Route healthz;
    healthz.name = "healthz";
    healthz.path = "/healthz";
    healthz.access = Access::open;
    healthz.handler = [leetCodeReady = std::move(leetCodeReady)](const HttpRequest&) {
        return answer(health(leetCodeReady));
    };
    Route scrape;
    scrape.name = "metrics";
    scrape.path = "/metrics";
    scrape.access = Access::open;
    scrape.handler = [&metrics](const HttpRequest& request) {
        return answer(metricsText(metrics, request));
    };
    return {std::move(healthz), std::move(scrape)};
}

} // namespace lumivane::service
