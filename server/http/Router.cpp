#include "server/http/Router.h"

#include "server/http/ErrorEnvelope.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

namespace lumivane::service {

using boost::algorithm::iequals;

Router::Router(BearerToken token, std::vector<Route> routes)
    : m_token(token)
    , m_routes(std::move(routes)) {}

const Route* Router::find(const RequestHead& head, std::string& allowed) const {
    const std::string_view path = pathOf(head.target);
    for (const Route& route : m_routes) {
        if (path != route.path) {
            continue;
        }
        const bool asHead = head.method == HttpMethod::head && route.method == HttpMethod::get;
        if (head.method == route.method || asHead) {
            return &route;
        }
        allowed.append(allowed.empty() ? "" : ", ").append(name(route.method));
        if (route.method == HttpMethod::get) {
            allowed.append(", HEAD");
        }
    }
    return nullptr;
}

Admission Router::admit(const RequestHead& head, std::string_view requestId) const {
    std::string allowed;
    Admission admission;
    admission.route = find(head, allowed);
    if (admission.route != nullptr) {
        admission.refusal = refuse(*admission.route, head, requestId);
    } else if (!allowed.empty()) {
        admission.refusal = errorResponse(405, "method_not_allowed",
                                          "This address does not take that method.", requestId);
        admission.refusal->headers.emplace_back("Allow", allowed);
    } else {
        admission.refusal =
            errorResponse(404, "not_found", "There is nothing at this address.", requestId);
    }
    return admission;
}

std::optional<HttpResponse> Router::refuse(const Route& route, const RequestHead& head,
                                           std::string_view requestId) const {
    if (route.access == Access::bearer && !m_token.matches(head.authorization)) {
        HttpResponse response = errorResponse(
            401, "unauthorized", "The access token is missing or not valid.", requestId);
        response.headers.emplace_back("WWW-Authenticate", "Bearer realm=\"lumivane\"");
        return response;
    }
    if (route.bodyRule == BodyRule::json) {
        if (!head.contentType || !namesJson(*head.contentType) || head.contentEncoding) {
            return errorResponse(415, "unsupported_media_type",
                                 "The body must be plain application/json.", requestId);
        }
    }
    if (head.expect && !iequals(*head.expect, "100-continue")) {
        return errorResponse(417, "expectation_failed", "Only 100-continue can be expected.",
                             requestId);
    }
    return std::nullopt;
}

bool namesJson(std::string_view contentType) {
    const auto end = contentType.find(';');
    const std::string type = boost::algorithm::trim_copy(std::string(contentType.substr(0, end)));
    if (!iequals(type, "application/json")) {
        return false;
    }
    if (end == std::string_view::npos) {
        return true;
    }
    const std::string parameter =
        boost::algorithm::trim_copy(std::string(contentType.substr(end + 1)));
    return iequals(parameter, "charset=utf-8") || iequals(parameter, "charset=\"utf-8\"");
}

} // namespace lumivane::service
