#include "accounts/AccountVocabulary.h"

namespace lumivane {

DeviceKind JsonCoding<DeviceKind>::decode(const Json& value) {
    return fromRawValue<DeviceKind>(JsonCoding<QString>::decode(value))
        .value_or(DeviceKind::unknown);
}

Json JsonCoding<DeviceKind>::encode(DeviceKind kind) {
    return JsonCoding<QString>::encode(rawValue(kind));
}

} // namespace lumivane
