#include "platform/linux/UserDefaultsText.h"

#include "domain/StrictJson.h"

#include <string>

namespace lumivane::UserDefaultsText {

namespace {

constexpr const char* base64Key = "base64";

QByteArray decodedData(const Json& value) {
    if (value.is_string()) {
        return QByteArray::fromStdString(value.get_ref<const std::string&>());
    }
    const JsonObjectReader reader(value);
    const QByteArray base64 = reader.required<QString>(base64Key).toUtf8();
    auto decoded = QByteArray::fromBase64Encoding(base64, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || value.size() != 1) {
        throw DecodingError(DecodingError::Reason::malformed);
    }
    return std::move(decoded.decoded);
}

Json encodedData(const QByteArray& data) {
    if (QByteArrayView(data).isValidUtf8()) {
        return data.toStdString();
    }
    return {{base64Key, data.toBase64().toStdString()}};
}

Entries decodedEntries(const Json& json) {
    if (!json.is_object()) {
        throw DecodingError(DecodingError::Reason::wrongType);
    }
    Entries entries;
    for (const auto& [key, value] : json.get_ref<const Json::object_t&>()) {
        if (!entries.emplace(QString::fromStdString(key), decodedData(value)).second) {
            throw DecodingError(DecodingError::Reason::duplicate);
        }
    }
    return entries;
}

} // namespace

std::optional<Entries> read(QByteArrayView text) {
    try {
        constexpr int depth = 2; // the file's own object, and one around other data
        return decodedEntries(
            parseJson(text, {.maximumBytes = maximumBytes, .maximumDepth = depth}));
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

QByteArray write(const Entries& entries) {
    Json json = Json::object();
    // The container's own insertion searches all keys before, which many keys make quadratic.
    Json::object_t::Container& members = json.get_ref<Json::object_t&>();
    members.reserve(entries.size());
    for (const auto& [key, data] : entries) {
        members.emplace_back(key.toStdString(), encodedData(data));
    }
    constexpr int indentation = 2;
    return QByteArray::fromStdString(json.dump(indentation)) + '\n';
}

} // namespace lumivane::UserDefaultsText
