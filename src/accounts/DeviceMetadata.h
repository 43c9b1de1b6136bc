#pragma once

#include "accounts/AccountVocabulary.h"
#include "platform/DeviceFacts.h"

#include <QString>

#include <functional>
#include <optional>

namespace lumivane {

/// How the facts of this machine are put into words that may leave it.
namespace DeviceMetadata {

inline constexpr qsizetype maximumNameLength = 60;      ///< Unicode scalars
inline constexpr qsizetype maximumOSVersionLength = 32; ///< Unicode scalars
inline constexpr QLatin1String fallbackName{"Mac"};

/// One line without control characters and of at most `maximumNameLength`, cut between characters;
/// the fallback where nothing is left.
QString sanitizeName(const std::optional<QString>& name);

/// `hasInternalBattery` is asked only when the model does not say it all. Never `unknown`.
DeviceKind kind(const std::optional<QString>& hardwareModel,
                const std::function<bool()>& hasInternalBattery);

/// The system's name, the major version, "." and the minor version. A name that is too long for
/// `maximumOSVersionLength` is cut, so that the version is always whole.
QString osVersion(const SystemVersion& version);

} // namespace DeviceMetadata

} // namespace lumivane
