#pragma once

#include "server/login/IdentityProvider.h"

#include <memory>

namespace lumivane::service {

/// A page of this service that stands in for a provider, and believes whatever it is told. For a
/// service that only programs of its own machine can reach.
///
/// Its subjects cannot be a real provider's, so a person who configures one later is not taken
/// for somebody who once wrote the same name here. Addresses count as verified where the
/// provider's own would.
std::unique_ptr<IdentityProvider> makeLocalIdentityProvider(AuthProvider provider);

/// Whether a subject was made by a local page.
bool isLocalSubject(std::string_view subject);

} // namespace lumivane::service
