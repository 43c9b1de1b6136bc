#include "records/APIErrorEnvelope.h"

namespace lumivane {

namespace {

APIErrorEnvelope::Detail decodeDetail(const Json& value) {
    const JsonObjectReader reader(value);
    return {.code = reader.required<QString>("code"),
            .message = reader.required<QString>("message"),
            .requestID = reader.required<QString>("request_id")};
}

} // namespace

template <>
struct JsonCoding<APIErrorEnvelope::Detail> {
    static APIErrorEnvelope::Detail decode(const Json& value) { return decodeDetail(value); }
};

APIErrorEnvelope JsonCoding<APIErrorEnvelope>::decode(const Json& value) {
    return {.error = JsonObjectReader(value).required<APIErrorEnvelope::Detail>("error")};
}

} // namespace lumivane
