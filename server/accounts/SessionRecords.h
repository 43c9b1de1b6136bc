#pragma once

#include "server/accounts/DeviceRegistration.h"
#include "server/accounts/LoginRecords.h"
#include "server/accounts/TokenExchange.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

class BodyFields;

/// "refresh_token" and "operation_id", a UUID in either case. Throws AccountError.
RefreshRequest decodeRefreshRequest(std::string_view body);

/// "refresh_token". Throws AccountError.
std::string decodeRevocation(std::string_view body);

/// "device_id", "device_name", "device_kind" and "device_os"; none where one of them is absent or
/// they do not describe a machine fully. Throws AccountError for what is no text.
std::optional<DeviceRegistration> decodeDevice(const BodyFields& fields);

/// The machine that an account is to be moved to. Throws AccountError, also "device_required".
DeviceRegistration decodeTakeover(std::string_view body);

/// {"devices": [...]}; the one named `currentDevice` is marked.
std::string encodeDevices(const std::vector<KnownDevice>& devices,
                          const std::optional<std::string>& currentDevice);

} // namespace lumivane::service
