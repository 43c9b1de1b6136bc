#include "server/application/RouteRates.h"

#include <gtest/gtest.h>

namespace lumivane::service {

namespace {

std::vector<Route> routesAt(std::initializer_list<const char*> paths) {
    std::vector<Route> routes;
    for (const char* path : paths) {
        routes.emplace_back().path = path;
    }
    return routes;
}

} // namespace

TEST(RouteRates, LoginsShareOneCountOfAddresses) {
    auto routes = routesAt({"/v1/auth/transactions", "/v1/auth/complete", "/v1/auth/takeover",
                            "/v1/auth/login/{}", "/v1/auth/callback/{}"});
    setRouteRates(routes, {});
    for (const Route& route : routes) {
        ASSERT_TRUE(route.rate.limiter) << route.path;
        EXPECT_EQ(route.rate.limiter, routes.front().rate.limiter) << route.path;
        EXPECT_EQ(route.rate.key, RouteRate::Key::clientAddress) << route.path;
    }
}

TEST(RouteRates, HandlesShareOneCountOfAccounts) {
    auto routes =
        routesAt({"/v1/auth/handles/availability", "/v1/auth/handles/filter", "/v1/auth/profile"});
    setRouteRates(routes, {});
    for (const Route& route : routes) {
        ASSERT_TRUE(route.rate.limiter) << route.path;
        EXPECT_EQ(route.rate.limiter, routes.front().rate.limiter) << route.path;
        EXPECT_EQ(route.rate.key, RouteRate::Key::account) << route.path;
    }
}

TEST(RouteRates, TokensHaveAHigherCountOfAddressesOfTheirOwn) {
    AccountConfiguration accounts;
    accounts.loginsPerMinute = 2;
    auto routes = routesAt({"/v1/auth/refresh", "/v1/auth/revoke", "/v1/auth/complete"});
    setRouteRates(routes, accounts);
    ASSERT_TRUE(routes[0].rate.limiter);
    EXPECT_EQ(routes[0].rate.limiter, routes[1].rate.limiter);
    EXPECT_NE(routes[0].rate.limiter, routes[2].rate.limiter);
    EXPECT_EQ(routes[0].rate.key, RouteRate::Key::clientAddress);
    EXPECT_EQ(routes[1].rate.key, RouteRate::Key::clientAddress);
    for (int attempt = 0; attempt < 20; ++attempt) {
        EXPECT_FALSE(routes[0].rate.limiter->take("a")) << attempt;
    }
    EXPECT_TRUE(routes[1].rate.limiter->take("a"));
}

TEST(RouteRates, AllOthersHaveNone) {
    auto routes = routesAt({"/healthz", "/metrics", "/v1/analyze", "/v1/auth/providers",
                            "/v1/auth/me", "/v1/auth/devices"});
    setRouteRates(routes, {});
    for (const Route& route : routes) {
        EXPECT_FALSE(route.rate.limiter) << route.path;
    }
}

TEST(RouteRates, SettingsSayHowOften) {
    AccountConfiguration accounts;
    accounts.loginsPerMinute = 2;
    accounts.handlesPerMinute = 0;
    auto routes = routesAt({"/v1/auth/complete", "/v1/auth/handles/filter"});
    setRouteRates(routes, accounts);
    EXPECT_FALSE(routes[0].rate.limiter->take("a"));
    EXPECT_FALSE(routes[0].rate.limiter->take("a"));
    EXPECT_TRUE(routes[0].rate.limiter->take("a"));
    for (int attempt = 0; attempt < 1000; ++attempt) {
        EXPECT_FALSE(routes[1].rate.limiter->take("a"));
    }
}

} // namespace lumivane::service
