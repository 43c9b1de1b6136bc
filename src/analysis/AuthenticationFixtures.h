#pragma once

#include "accounts/AuthenticationCoordinator.h"
#include "analysis/TestingMode.h"

namespace lumivane {

/// With what the login begins in a process that is tested; nothing of it in any other.
namespace AuthenticationFixtures {

/// Nothing is restored where views are tested.
AuthenticationStart start(const TestingMode& testing);

/// The name under which an item is kept in the keyring: `ordinary`, or one of its own, so that
/// nothing that a test does reaches what the user has there.
QString keyringService(const TestingMode& testing, const QString& ordinary);

AuthenticationSeeds seeds(const TestingMode& testing);

} // namespace AuthenticationFixtures

} // namespace lumivane
