#pragma once

#include "server/analysis/AnalysisEngine.h"
#include "server/configuration/ServiceConfiguration.h"

#include <boost/asio/thread_pool.hpp>

#include <memory>

namespace lumivane::service {

/// The engine that the settings ask for: the practice memory before a model's, or before the
/// extractive one without a model, working on `pool`. A memory that cannot be read is told on
/// standard error and left out. Throws ConfigurationError.
std::unique_ptr<AnalysisEngine> makeConfiguredEngine(const ServiceConfiguration& configuration,
                                                     boost::asio::thread_pool& pool);

} // namespace lumivane::service
