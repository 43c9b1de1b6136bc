#include "server/http/Router.h"

#include "server/http/ErrorEnvelope.h"
#include "server/http/FormFields.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/asio/ip/address.hpp>

#include <algorithm>

namespace lumivane::service {

namespace asio = boost::asio;
using boost::algorithm::iequals;

namespace {

constexpr std::string_view parameterMark = "/{}";

bool endsInParameter(const Route& route) { return route.path.ends_with(parameterMark); }

// The parameter that makes the route's path this one; none when no parameter does.
std::optional<std::string_view> parameterIn(std::string_view path, const Route& route) {
    constexpr std::size_t longest = 128;
    const std::string_view fixed = std::string_view(route.path).substr(0, route.path.size() - 2);
    if (!path.starts_with(fixed)) {
        return std::nullopt;
    }
    path.remove_prefix(fixed.size());
    if (path.empty() || path.size() > longest ||
        !std::all_of(path.begin(), path.end(), isUnreserved)) {
        return std::nullopt;
    }
    return path;
}

bool takes(const Route& route, std::string_view path) {
    return endsInParameter(route) ? parameterIn(path, route).has_value() : path == route.path;
}

std::optional<Refusal> judgeContent(const Route& route, const RequestHead& head) {
    if (route.bodyRule == BodyRule::json &&
        (!head.contentType || !namesJson(*head.contentType) || head.contentEncoding)) {
        return Refusal{415, "unsupported_media_type", "The body must be plain application/json."};
    }
    if (route.bodyRule == BodyRule::form &&
        (!head.contentType || !namesForm(*head.contentType) || head.contentEncoding)) {
        return Refusal{415, "unsupported_media_type", "The body must be a plain form."};
    }
    if (head.expect && !iequals(*head.expect, "100-continue")) {
        return Refusal{417, "expectation_failed", "Only 100-continue can be expected."};
    }
    return std::nullopt;
}

// One customer of a provider has a whole /64 of IPv6 addresses to choose from.
std::string clientNetwork(const std::string& address) {
    boost::system::error_code error;
    const auto parsed = asio::ip::make_address(address, error);
    if (error || !parsed.is_v6() || parsed.to_v6().is_v4_mapped()) {
        return address;
    }
    const auto bytes = parsed.to_v6().to_bytes();
    return {bytes.begin(), bytes.begin() + 8};
}

std::optional<Refusal> judgeRate(const RouteRate& rate, std::string_view key) {
    if (!rate.limiter) {
        return std::nullopt;
    }
    const auto wait = rate.limiter->take(key);
    return wait ? std::optional(rateLimited(*wait)) : std::nullopt;
}

Refusal tooManyAtWork() {
    return {429, "rate_limited",
            "Too many requests of this account are at work. Try again when one has ended.",
            std::chrono::seconds(1)};
}

bool namesType(std::string_view contentType, std::string_view wanted) {
    const auto end = contentType.find(';');
    const std::string type = boost::algorithm::trim_copy(std::string(contentType.substr(0, end)));
    if (!iequals(type, wanted)) {
        return false;
    }
    if (end == std::string_view::npos) {
        return true;
    }
    const std::string parameter =
        boost::algorithm::trim_copy(std::string(contentType.substr(end + 1)));
    return iequals(parameter, "charset=utf-8") || iequals(parameter, "charset=\"utf-8\"");
}

} // namespace

Router::Router(Authorizer& authorizer, std::vector<Route> routes)
    : m_authorizer(authorizer)
    , m_routes(std::move(routes)) {
    std::stable_partition(m_routes.begin(), m_routes.end(),
                          [](const Route& route) { return !endsInParameter(route); });
}

const Route* Router::find(const RequestHead& head, std::string& allowed) const {
    const std::string_view path = pathOf(head.target);
    for (const Route& route : m_routes) {
        if (!takes(route, path)) {
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

asio::awaitable<Admission> Router::admit(RequestHead head, std::string requestId,
                                         std::string clientAddress) const {
    std::string allowed;
    Admission admission;
    admission.route = find(head, allowed);
    if (admission.route == nullptr && !allowed.empty()) {
        admission.refusal = errorResponse(405, "method_not_allowed",
                                          "This address does not take that method.", requestId);
        admission.refusal->headers.emplace_back("Allow", allowed);
        co_return admission;
    }
    if (admission.route == nullptr) {
        admission.refusal =
            errorResponse(404, "not_found", "There is nothing at this address.", requestId);
        co_return admission;
    }
    if (endsInParameter(*admission.route)) {
        const auto parameter = parameterIn(pathOf(head.target), *admission.route);
        admission.pathParameter = parameter.value_or(std::string_view());
    }
    const RouteRate& rate = admission.route->rate;
    std::optional<Refusal> refusal;
    if (rate.key == RouteRate::Key::clientAddress) {
        refusal = judgeRate(rate, clientNetwork(clientAddress));
    }
    if (!refusal) {
        refusal = co_await authorize(head, admission);
    }
    if (!refusal && rate.key == RouteRate::Key::account && admission.principal) {
        refusal = judgeRate(rate, admission.principal->accountId);
    }
    if (!refusal) {
        refusal = judgeContent(*admission.route, head);
    }
    if (!refusal && admission.route->workLimiter && admission.principal) {
        admission.place = admission.route->workLimiter->take(admission.principal->accountId);
        refusal = admission.place ? std::nullopt : std::optional(tooManyAtWork());
    }
    if (refusal) {
        admission.refusal = admission.route->refusalForm(*refusal, requestId);
    }
    co_return admission;
}

asio::awaitable<std::optional<Refusal>> Router::authorize(const RequestHead& head,
                                                          Admission& admission) const {
    const Access access = admission.route->access;
    if (access == Access::open || (access == Access::optionalSession && !head.authorization)) {
        co_return std::nullopt;
    }
    if (head.authorization) {
        admission.bearer = bearerCredentials(*head.authorization);
    }
    if (!admission.bearer) {
        co_return unauthorized();
    }
    if (access == Access::credential) {
        co_return std::nullopt;
    }
    try {
        Authorization judged = co_await m_authorizer.authorize(*admission.bearer);
        if (auto* refusal = std::get_if<Refusal>(&judged)) {
            co_return std::move(*refusal);
        }
        admission.principal = std::get<Principal>(std::move(judged));
        co_return std::nullopt;
    } catch (const std::exception&) {
    }
    Refusal failure = internalFailure();
    co_return std::move(failure);
}

bool namesJson(std::string_view contentType) { return namesType(contentType, "application/json"); }

bool namesForm(std::string_view contentType) {
    return namesType(contentType, "application/x-www-form-urlencoded");
}

} // namespace lumivane::service
