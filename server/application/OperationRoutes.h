#pragma once

#include "server/http/Router.h"
#include "server/http/ServerMetrics.h"

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// The version that `healthz` and --version show.
std::string_view serviceVersion();

/// What LeetCode is ready for at this moment; none when it is not known, which keeps clients from
/// asking. Called on the network thread for each GET /healthz.
using LeetCodeReady = std::function<std::optional<bool>()>;

/// GET /healthz for everyone, and GET /metrics for programs of this machine that ask directly: to
/// anyone else, and through a proxy, there is nothing at that address. The metrics must outlive
/// the routes.
std::vector<Route> operationRoutes(const ServerMetrics& metrics, LeetCodeReady leetCodeReady);

} // namespace lumivane::service
