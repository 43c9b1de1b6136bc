#pragma once

#include "accounts/DeviceRegistration.h"
#include "platform/SecretItemStore.h"

#include <qcoro/qcorotask.h>

#include <stop_token>

namespace lumivane {

/// Tells the account service which machine this is. Main thread only.
class DeviceIdentifying {
public:
    virtual ~DeviceIdentifying() = default;

    /// Throws AuthenticationError::Case::unavailable when the keyring neither gives nor takes the
    /// identifier, and Cancelled once a stop is requested. Nothing else makes it fail.
    virtual QCoro::Task<DeviceRegistration> registration(UnlockPrompt prompt,
                                                         std::stop_token stop) = 0;
};

} // namespace lumivane
