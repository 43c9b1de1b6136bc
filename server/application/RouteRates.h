#pragma once

#include "server/configuration/ServiceConfiguration.h"
#include "server/http/Router.h"

#include <vector>

namespace lumivane::service {

/// One that counts with the machine's clock; 0: no limit.
std::shared_ptr<RateLimiter> makeLimiter(std::uint32_t perMinute);

/// Gives the routes their limits by path: those of a login share one count for each address,
/// those that take a refresh token another, ten times as high, and those of handles and the
/// profile one for each account. All others stay without.
void setRouteRates(std::vector<Route>& routes, const AccountConfiguration& accounts);

} // namespace lumivane::service
