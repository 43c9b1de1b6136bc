#pragma once

#include "accounts/AccountVocabulary.h"

#include <QString>

namespace lumivane {

/// This machine as the service knows it.
struct DeviceRegistration {
    QString identifier; ///< random, the same for as long as this installation lives
    QString name;       ///< sanitised computer name
    DeviceKind kind = DeviceKind::unknown;
    QString osVersion;

    bool operator==(const DeviceRegistration&) const = default;
};

} // namespace lumivane
