#pragma once

#include "domain/StrictJson.h"

#include <QString>

#include <cstdint>
#include <variant>

namespace lumivane {

/// The filter of taken handles as the service writes it; every key is required.
struct HandleFilterPayload {
    QString version;    ///< opaque; the entity tag as well
    std::int64_t m = 0; ///< bits
    std::int64_t k = 0; ///< probes
    QString hash;       ///< kept, never acted on
    QString seed;       ///< hexadecimal
    QString bits;       ///< base64url, with whole padding or none

    bool operator==(const HandleFilterPayload&) const = default;
};

/// The version asked about is still the right one.
struct HandleFilterUnchanged {
    bool operator==(const HandleFilterUnchanged&) const = default;
};

/// The service hands out no filter.
struct HandleFilterUnavailable {
    bool operator==(const HandleFilterUnavailable&) const = default;
};

using HandleFilterOutcome =
    std::variant<HandleFilterPayload, HandleFilterUnchanged, HandleFilterUnavailable>;

template <>
struct JsonCoding<HandleFilterPayload> {
    static HandleFilterPayload decode(const Json& value);
};

} // namespace lumivane
