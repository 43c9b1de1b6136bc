#pragma once

#include "domain/SecretText.h"
#include "domain/StrictJson.h"

#include <QByteArray>

namespace lumivane {

/// A secret stands in JSON as any other text.
template <>
struct JsonCoding<SecretText> {
    static SecretText decode(const Json& value);
    static Json encode(const SecretText& secret);
};

/// A JSON value whose texts are overwritten when it goes.
class SecretJson {
public:
    explicit SecretJson(Json value)
        : m_value(std::move(value)) {}

    ~SecretJson() { overwrite(); }

    SecretJson(const SecretJson&) = delete;
    SecretJson& operator=(const SecretJson&) = delete;

    const Json& value() const { return m_value; }

    /// As writeJson does, in one piece of memory; the caller overwrites it after use.
    QByteArray write() const;

    /// What the destructor does, earlier.
    void overwrite();

private:
    Json m_value;
};

/// What an account's records need at most; the handle filter has a limit of its own.
inline constexpr JsonLimits accountJsonLimits{.maximumBytes = std::int64_t{1024} * 1024,
                                              .maximumDepth = 16};

/// decodeJson for a record with secrets: the parsed texts are overwritten, though not what the
/// parser kept for itself on the way. `data` stays the caller's to overwrite. Throws DecodingError.
template <typename Record>
Record decodeSecretJson(QByteArrayView data, JsonLimits limits = accountJsonLimits) {
    const SecretJson parsed(parseJson(data, limits));
    return JsonCoding<Record>::decode(parsed.value());
}

/// encodeJson for a record with secrets. The caller overwrites the result after use. Throws
/// EncodingError.
template <typename Record>
QByteArray encodeSecretJson(const Record& record) {
    return SecretJson(JsonCoding<Record>::encode(record)).write();
}

} // namespace lumivane
