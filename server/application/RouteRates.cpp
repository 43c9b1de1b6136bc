#include "server/application/RouteRates.h"

#include <algorithm>
#include <array>

namespace lumivane::service {

namespace {

constexpr std::array<std::string_view, 5> loginPaths{"/v1/auth/transactions", "/v1/auth/complete",
                                                     "/v1/auth/takeover", "/v1/auth/login/{}",
                                                     "/v1/auth/callback/{}"};
// A change of the profile tells as well whether a handle is taken.
constexpr std::array<std::string_view, 3> handlePaths{
    "/v1/auth/handles/availability", "/v1/auth/handles/filter", "/v1/auth/profile"};
// Nobody has proved anything before the database is asked about the token.
constexpr std::array<std::string_view, 2> tokenPaths{"/v1/auth/refresh", "/v1/auth/revoke"};
// Many machines with a session each may share an address.
constexpr std::uint32_t tokensPerLogin = 10;

template <typename Paths>
bool isAmong(const Paths& paths, std::string_view path) {
    return std::find(paths.begin(), paths.end(), path) != paths.end();
}

} // namespace

std::shared_ptr<RateLimiter> makeLimiter(std::uint32_t perMinute) {
    return std::make_shared<RateLimiter>(perMinute);
}

void setRouteRates(std::vector<Route>& routes, const AccountConfiguration& accounts) {
    const auto logins = makeLimiter(accounts.loginsPerMinute);
    const auto tokens = makeLimiter(accounts.loginsPerMinute * tokensPerLogin);
    const auto handles = makeLimiter(accounts.handlesPerMinute);
    for (Route& route : routes) {
        if (isAmong(loginPaths, route.path)) {
            route.rate.limiter = logins;
            route.rate.key = RouteRate::Key::clientAddress;
        } else if (isAmong(tokenPaths, route.path)) {
            route.rate.limiter = tokens;
            route.rate.key = RouteRate::Key::clientAddress;
        } else if (isAmong(handlePaths, route.path)) {
            route.rate.limiter = handles;
            route.rate.key = RouteRate::Key::account;
        }
    }
}

} // namespace lumivane::service
