#pragma once

#include "server/analysis/AnalysisEngine.h"
#include "server/configuration/ServiceConfiguration.h"
#include "server/upstream/UpstreamTransport.h"

#include <boost/asio/thread_pool.hpp>

#include <memory>

namespace lumivane::service {

/// The engine that the settings ask for: the practice memory before a model's, or before the
/// extractive one without a model, working on `pool`. A memory that cannot be read is told on
/// standard error and left out. `upstream` and `pool` must outlive it. Throws ConfigurationError.
std::unique_ptr<AnalysisEngine> makeConfiguredEngine(const ServiceConfiguration& configuration,
                                                     UpstreamTransport& upstream,
                                                     boost::asio::thread_pool& pool);

} // namespace lumivane::service
