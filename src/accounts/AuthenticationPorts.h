#pragma once

#include "accounts/AuthServing.h"
#include "accounts/CredentialStoring.h"
#include "accounts/DeviceIdentifying.h"
#include "accounts/HandleAvailabilityChecker.h"
#include "accounts/WebAuthenticating.h"
#include "async/Clock.h"
#include "platform/RandomSource.h"

namespace lumivane {

/// Everything that the login reaches. All of it outlives the coordinator and its parts.
struct AuthenticationPorts {
    AuthServing& service;
    CredentialStoring& credentialStore;
    WebAuthenticating& webAuthenticator;
    DeviceIdentifying& deviceIdentity;
    HandleAvailabilityChecker& handleChecker;
    RandomSource& random;
    Clock& clock;
};

} // namespace lumivane
