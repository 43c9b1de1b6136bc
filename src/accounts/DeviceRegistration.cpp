#include "accounts/DeviceRegistration.h"

#include "accounts/DeviceMetadata.h"
#include "domain/Characters.h"

namespace lumivane {

namespace {

constexpr std::int64_t minimumIdentifierLength = 16;
constexpr std::int64_t maximumIdentifierLength = 64;

bool isOfLength(const QString& text, qsizetype atMost) {
    return !text.isEmpty() && scalarCount(text) <= atMost;
}

} // namespace

bool DeviceRegistration::isComplete() const {
    const std::int64_t length = characterCount(identifier);
    return length >= minimumIdentifierLength && length <= maximumIdentifierLength &&
           isOfLength(name, DeviceMetadata::maximumNameLength) && kind != DeviceKind::unknown &&
           isOfLength(osVersion, DeviceMetadata::maximumOSVersionLength);
}

} // namespace lumivane
