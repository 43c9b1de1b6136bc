#pragma once

#include "accounts/AuthenticationCoordinator.h"
#include "analysis/TestingMode.h"

namespace lumivane {

/// With what the login begins in a process that is tested; nothing of it in any other.
namespace AuthenticationFixtures {

/// A process whose views are tested never looks into the keyring of the user.
AuthenticationStart start(const TestingMode& testing);

AuthenticationSeeds seeds(const TestingMode& testing);

} // namespace AuthenticationFixtures

} // namespace lumivane
