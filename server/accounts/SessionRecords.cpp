#include "server/accounts/SessionRecords.h"

#include "server/accounts/AccountError.h"
#include "server/accounts/BodyFields.h"
#include "server/accounts/WireTime.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>

namespace lumivane::service {

namespace json = boost::json;

namespace {

constexpr std::size_t tokenBytes = 4096;
constexpr std::size_t operationBytes = 36;
// What a device says of itself is bounded in characters elsewhere; this only keeps out the absurd.
constexpr std::size_t deviceBytes = 4096;

bool isLowerHexadecimal(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
}

bool isUuid(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
        if (isDash ? text[i] != '-' : !isLowerHexadecimal(text[i])) {
            return false;
        }
    }
    return text.size() == operationBytes;
}

std::string lowerCase(std::string text) {
    for (char& character : text) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return text;
}

json::object encodeDevice(const KnownDevice& device, bool isCurrent) {
    json::object record;
    record["device_id"] = device.identifier;
    record["name"] = device.name;
    record["kind"] = device.kind;
    record["os_version"] = device.osVersion;
    record["is_current"] = isCurrent;
    record["last_seen_at"] = wireTime(device.lastSeenAt);
    record["registered_at"] = wireTime(device.registeredAt);
    return record;
}

} // namespace

RefreshRequest decodeRefreshRequest(std::string_view body) {
    const BodyFields fields(body);
    RefreshRequest request;
    request.refreshToken = fields.text("refresh_token", tokenBytes);
    request.operationId = lowerCase(fields.text("operation_id", tokenBytes));
    if (!isUuid(request.operationId)) {
        throw AccountError(Refusal{422, "invalid_request", "\"operation_id\" must be a UUID."});
    }
    return request;
}

std::string decodeRevocation(std::string_view body) {
    return BodyFields(body).text("refresh_token", tokenBytes);
}

std::optional<DeviceRegistration> decodeDevice(const BodyFields& fields) {
    DeviceRegistration device;
    device.identifier = fields.optionalText("device_id", deviceBytes).value_or("");
    device.name = fields.optionalText("device_name", deviceBytes).value_or("");
    device.kind = fields.optionalText("device_kind", deviceBytes).value_or("");
    device.osVersion = fields.optionalText("device_os", deviceBytes).value_or("");
    if (!device.isComplete()) {
        return std::nullopt;
    }
    return device;
}

DeviceRegistration decodeTakeover(std::string_view body) {
    auto device = decodeDevice(BodyFields(body));
    if (!device) {
        throw AccountError(deviceRequired());
    }
    return std::move(*device);
}

std::string encodeDevices(const std::vector<KnownDevice>& devices,
                          const std::optional<std::string>& currentDevice) {
    json::array list;
    for (const KnownDevice& device : devices) {
        list.push_back(encodeDevice(device, currentDevice == device.identifier));
    }
    json::object record;
    record["devices"] = std::move(list);
    return json::serialize(record);
}

} // namespace lumivane::service
