#include "Require.h"
#include "accounts/AccountCoding.h"
#include "accounts/HandleFilterPayload.h"
#include "records/APIErrorEnvelope.h"

#include <cstdint>

using namespace lumivane;

namespace {

/// Decodes or says no; anything else that is thrown ends the process.
template <typename Record>
std::optional<Record> decoded(const Json& value) {
    try {
        return JsonCoding<Record>::decode(value);
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

/// What was read once reads the same again once it was written.
template <typename Record>
void checkBothWays(const Json& value) {
    if (const auto record = decoded<Record>(value)) {
        require(decodeSecretJson<Record>(encodeSecretJson(*record)) == *record);
    }
}

void checkRecords(const Json& value) {
    checkBothWays<UserSummary>(value);
    checkBothWays<LinkedDeviceList>(value);
    checkBothWays<AuthCredentials>(value);
    checkBothWays<StoredSession>(value);
    checkBothWays<AuthTransaction>(value);
    checkBothWays<DeleteReauthentication>(value);
    decoded<DeviceTakeoverRequired>(value);
    decoded<HandleAvailabilityResult>(value);
    decoded<HandleFilterPayload>(value);
    decoded<APIErrorEnvelope>(value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QByteArrayView data(bytes, static_cast<qsizetype>(size));
    try {
        const SecretJson parsed(parseJson(data, accountJsonLimits));
        checkRecords(parsed.value());
    } catch (const DecodingError&) {
        // Most inputs are no JSON at all.
    }
    return 0;
}
