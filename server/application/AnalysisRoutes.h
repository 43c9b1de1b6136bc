#pragma once

#include "server/analysis/AnalysisEngine.h"
#include "server/http/Router.h"

#include <boost/asio/thread_pool.hpp>

#include <vector>

namespace lumivane::service {

/// POST /v1/analyze over one engine. Records are decoded on `pool`; both must outlive the routes.
std::vector<Route> analysisRoutes(AnalysisEngine& engine, boost::asio::thread_pool& pool);

} // namespace lumivane::service
