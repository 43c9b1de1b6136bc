#pragma once

#include "server/accounts/DeviceTakeover.h"
#include "server/accounts/SessionDirectory.h"
#include "server/accounts/TokenExchange.h"
#include "server/http/Router.h"

#include <boost/asio/thread_pool.hpp>

#include <vector>

namespace lumivane::service {

/// What the routes of a session stand on; may be used by several threads at once.
struct AccountServices {
    TokenExchange tokens;
    DeviceTakeover takeover;
    SessionDirectory directory;
};

/// Database and clock must outlive what is returned; `refreshLimiter` counts exchanges by session.
/// Throws StoreError.
AccountServices makeAccountServices(Database& database, const WallClock& clock,
                                    const SessionSettings& settings,
                                    std::shared_ptr<RateLimiter> refreshLimiter = nullptr);

/// POST /v1/auth/refresh, /v1/auth/revoke, /v1/auth/logout, /v1/auth/takeover and
/// GET /v1/auth/me, /v1/auth/devices. Services and pool must outlive the routes.
std::vector<Route> accountRoutes(AccountServices& services, boost::asio::thread_pool& pool);

} // namespace lumivane::service
