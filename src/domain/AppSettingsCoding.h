#pragma once

#include "domain/AppSettings.h"
#include "domain/StrictJson.h"

namespace lumivane {

/// The stored form of a shortcut: five keys, all required.
template <>
struct JsonCoding<HotKey> {
    static HotKey decode(const Json& value);
    static Json encode(const HotKey& hotKey);
};

/// The stored form of the settings: 31 keys in the order of the fields, all required, each equal
/// to its field's name. Nothing is normalised in either direction.
template <>
struct JsonCoding<AppSettings> {
    static AppSettings decode(const Json& value);
    static Json encode(const AppSettings& settings);
};

} // namespace lumivane
