#pragma once

#include "server/configuration/ServiceConfiguration.h"
#include "server/login/LoginService.h"

#include <memory>

namespace lumivane::service {

/// Logins as the settings say: the configured providers, or local pages in their place where none
/// is and the service does not stand behind a proxy. Throws ConfigurationError.
std::unique_ptr<LoginService> makeConfiguredLogins(const ServiceConfiguration& configuration,
                                                   const LoginDependencies& dependencies,
                                                   const SessionSettings& sessions);

} // namespace lumivane::service
