#pragma once

#include "domain/StrictJson.h"

#include <QString>

namespace lumivane {

/// How the service, in all of its parts, says why it did not do what was asked.
struct APIErrorEnvelope {
    struct Detail {
        QString code;
        QString message;
        QString requestID;

        bool operator==(const Detail&) const = default;
    };

    Detail error;

    bool operator==(const APIErrorEnvelope&) const = default;
};

/// Extra keys are ignored; anything else amiss fails the whole body.
template <>
struct JsonCoding<APIErrorEnvelope> {
    static APIErrorEnvelope decode(const Json& value);
};

} // namespace lumivane
