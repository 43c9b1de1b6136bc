#include "accounts/HandleFilterPayload.h"

namespace lumivane {

HandleFilterPayload JsonCoding<HandleFilterPayload>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.version = reader.required<QString>("version"),
            .m = reader.required<std::int64_t>("m"),
            .k = reader.required<std::int64_t>("k"),
            .hash = reader.required<QString>("hash"),
            .seed = reader.required<QString>("seed"),
            .bits = reader.required<QString>("bits")};
}

} // namespace lumivane
