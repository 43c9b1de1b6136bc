#pragma once

#include "server/http/Router.h"
#include "server/profile/AccountProfile.h"
#include "server/profile/HandleFilterPublisher.h"

#include <boost/asio/thread_pool.hpp>

#include <string_view>
#include <vector>

namespace lumivane::service {

/// What the routes of names stand on; may be used by several threads at once.
struct ProfileServices {
    /// Database and clock must outlive the services.
    ProfileServices(Database& database, const WallClock& clock, HandleFilterSettings settings = {})
        : profile(database)
        , filter(database, clock, settings) {}

    AccountProfile profile;
    HandleFilterPublisher filter;
};

/// PATCH /v1/auth/profile, POST /v1/auth/handles/availability and GET /v1/auth/handles/filter.
/// Services and pool must outlive the routes, and the services the work that is left on the pool.
std::vector<Route> profileRoutes(ProfileServices& services, boost::asio::thread_pool& pool);

/// Looks after the filter on `pool`, so that the first who asks for it need not go without. A
/// failure is left to the next one who asks.
void refreshHandleFilter(ProfileServices& services, boost::asio::thread_pool& pool);

/// Whether an If-None-Match header names the version: as an entity tag, weak or strong, alone or in
/// a list, or by "*".
bool namesVersion(std::string_view ifNoneMatch, std::string_view version);

} // namespace lumivane::service
