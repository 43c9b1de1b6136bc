#include "server/login/JsonFields.h"

#include "server/text/StrictJson.h"

namespace lumivane::service {

namespace json = boost::json;

namespace {

const json::value* find(const json::object& object, std::string_view key) {
    return object.if_contains(json::string_view{key.data(), key.size()});
}

} // namespace

std::optional<json::object> parseJsonObject(std::string_view text) {
    try {
        json::value value = parseStrictly(text);
        if (value.is_object()) {
            return std::move(value.get_object());
        }
    } catch (const JsonError&) {
    }
    return std::nullopt;
}

std::optional<std::string> textField(const json::object& object, std::string_view key) {
    const json::value* value = find(object, key);
    if (value == nullptr || !value->is_string()) {
        return std::nullopt;
    }
    return std::string(value->get_string().data(), value->get_string().size());
}

std::optional<std::int64_t> integerField(const json::object& object, std::string_view key) {
    const json::value* value = find(object, key);
    if (value == nullptr || !value->is_int64()) {
        return std::nullopt;
    }
    return value->get_int64();
}

bool isTrueField(const json::object& object, std::string_view key) {
    const json::value* value = find(object, key);
    return value != nullptr && ((value->is_bool() && value->get_bool()) ||
                                (value->is_string() && value->get_string() == "true"));
}

} // namespace lumivane::service
