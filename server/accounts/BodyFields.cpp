#include "server/accounts/BodyFields.h"

#include "server/accounts/AccountError.h"
#include "server/text/StrictJson.h"

namespace lumivane::service {

namespace {

boost::json::value parse(std::string_view body) {
    constexpr JsonLimits limits{4, 64, 64};
    try {
        return parseStrictly(body, limits);
    } catch (const JsonError& error) {
        throw AccountError(Refusal{400, "invalid_json",
                                   std::string("The body cannot be read: ") + error.what() + "."});
    }
}

std::string quoted(const char* key) { return std::string("\"") + key + "\""; }

} // namespace

BodyFields::BodyFields(std::string_view body)
    : m_document(parse(body)) {
    if (!m_document.is_object()) {
        refuseRecord("The body must be a JSON object.");
    }
}

std::optional<std::string> BodyFields::optionalText(const char* key, std::size_t mostBytes) const {
    const boost::json::value* member = m_document.get_object().if_contains(key);
    if (member == nullptr || member->is_null()) {
        return std::nullopt;
    }
    if (!member->is_string()) {
        refuseRecord(quoted(key) + " must be a string.");
    }
    const boost::json::string& text = member->get_string();
    if (text.size() > mostBytes) {
        refuseRecord(quoted(key) + " is too long.");
    }
    if (text.find('\0') != boost::json::string::npos) {
        refuseRecord(quoted(key) + " holds a NUL character.");
    }
    return std::string(text.data(), text.size());
}

std::string BodyFields::text(const char* key, std::size_t mostBytes) const {
    auto text = optionalText(key, mostBytes);
    if (!text) {
        refuseRecord(quoted(key) + " is missing.");
    }
    return std::move(*text);
}

} // namespace lumivane::service
