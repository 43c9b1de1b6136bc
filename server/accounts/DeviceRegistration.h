#pragma once

#include <string>

namespace lumivane::service {

/// A machine as its client describes it.
struct DeviceRegistration {
    std::string identifier; ///< random, and the same for as long as the machine keeps it
    std::string name;
    std::string kind; ///< "laptop", "desktop", "phone" or "tablet"
    std::string osVersion;

    bool operator==(const DeviceRegistration&) const = default;

    /// Whether it can hold an account: identifier of 16 to 64 characters, name of 1 to 60,
    /// osVersion of 1 to 32, a known kind, and no control character anywhere.
    bool isComplete() const;
};

} // namespace lumivane::service
