#pragma once

#include "server/analysis/AnalysisEngine.h"
#include "server/configuration/ServiceConfiguration.h"

#include <boost/asio/thread_pool.hpp>

#include <memory>

namespace lumivane::service {

/// The engine that the settings ask for: a model's, or without one the extractive one, which works
/// on `pool`. Throws ConfigurationError.
std::unique_ptr<AnalysisEngine> makeConfiguredEngine(const ServiceConfiguration& configuration,
                                                     boost::asio::thread_pool& pool);

} // namespace lumivane::service
