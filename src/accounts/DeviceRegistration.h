#pragma once

#include "accounts/AccountVocabulary.h"

#include <QString>

namespace lumivane {

/// This machine as the service knows it.
struct DeviceRegistration {
    QString identifier; ///< random, the same for as long as this installation lives
    QString name;       ///< sanitised computer name
    DeviceKind kind = DeviceKind::unknown;
    QString osVersion; ///< such as "macOS 15.2"

    /// Whether the service could tell from it which machine this is: an identifier of 16 to 64
    /// characters, a name of 1 to 60 and a version of 1 to 32 Unicode scalars, and a known kind.
    bool isComplete() const;

    bool operator==(const DeviceRegistration&) const = default;
};

} // namespace lumivane
