#pragma once

#include "server/analysis/AnalysisEngine.h"
#include "server/http/HttpServer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>

#include <string_view>

namespace lumivane::service {

/// The version that `healthz` and --version show.
std::string_view serviceVersion();

/// The service's routes over one engine: GET /healthz for everyone, with what the engine says of
/// itself when the router is made, POST /v1/analyze for whom the authorizer lets in. Records are
/// decoded on `pool`. Authorizer, engine and pool must outlive the router.
Router makeServiceRouter(Authorizer& authorizer, AnalysisEngine& engine,
                         boost::asio::thread_pool& pool);

} // namespace lumivane::service
