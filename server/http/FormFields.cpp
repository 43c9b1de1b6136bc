#include "server/http/FormFields.h"

#include <boost/locale/utf.hpp>

namespace lumivane::service {

namespace {

constexpr std::size_t mostFields = 32;
constexpr std::size_t longestName = 64;
constexpr std::size_t longestValue = 8192;

int hexDigit(char character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    if (character >= 'a' && character <= 'f') {
        return character - 'a' + 10;
    }
    if (character >= 'A' && character <= 'F') {
        return character - 'A' + 10;
    }
    return -1;
}

bool isPlainUtf8(std::string_view text) {
    namespace utf = boost::locale::utf;
    const char* position = text.data();
    const char* const end = position + text.size();
    while (position != end) {
        const utf::code_point point = utf::utf_traits<char>::decode(position, end);
        if (point == utf::illegal || point == utf::incomplete || point == 0) {
            return false;
        }
    }
    return true;
}

// Visible ASCII is let through as it is: browsers leave "*" and others uncoded.
std::optional<std::string> decoded(std::string_view text, std::size_t longest) {
    std::string result;
    while (!text.empty()) {
        const char first = text.front();
        text.remove_prefix(1);
        if (first == '%') {
            const int high = text.empty() ? -1 : hexDigit(text[0]);
            const int low = text.size() < 2 ? -1 : hexDigit(text[1]);
            if (high < 0 || low < 0) {
                return std::nullopt;
            }
            result.push_back(static_cast<char>(high * 16 + low));
            text.remove_prefix(2);
        } else if (first > 0x20 && first < 0x7F) {
            result.push_back(first == '+' ? ' ' : first);
        } else {
            return std::nullopt;
        }
        if (result.size() > longest) {
            return std::nullopt;
        }
    }
    return isPlainUtf8(result) ? std::optional(std::move(result)) : std::nullopt;
}

} // namespace

bool isUnreserved(char character) {
    const bool isLetter =
        (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    const bool isDigit = character >= '0' && character <= '9';
    return isLetter || isDigit ||
           std::string_view("-._~").find(character) != std::string_view::npos;
}

std::optional<FormFields> FormFields::decode(std::string_view text) {
    FormFields fields;
    while (!text.empty()) {
        const auto end = text.find('&');
        const std::string_view field = text.substr(0, end);
        const bool isLast = end == std::string_view::npos;
        text.remove_prefix(isLast ? text.size() : end + 1);
        const auto equals = field.find('=');
        const bool hasValue = equals != std::string_view::npos;
        auto name = decoded(field.substr(0, equals), longestName);
        auto value = decoded(hasValue ? field.substr(equals + 1) : "", longestValue);
        const bool isOrderly = name && value && !name->empty() && (isLast || !text.empty());
        if (!isOrderly || fields.find(*name) || fields.m_fields.size() == mostFields) {
            return std::nullopt;
        }
        fields.m_fields.emplace_back(std::move(*name), std::move(*value));
    }
    return fields;
}

std::optional<std::string_view> FormFields::find(std::string_view name) const {
    for (const auto& [known, value] : m_fields) {
        if (known == name) {
            return value;
        }
    }
    return std::nullopt;
}

std::string percentEncoded(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char character : text) {
        if (isUnreserved(character)) {
            result.push_back(character);
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        result.push_back('%');
        result.push_back(digits[byte / 16]);
        result.push_back(digits[byte % 16]);
    }
    return result;
}

} // namespace lumivane::service
