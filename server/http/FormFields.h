#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lumivane::service {

/// The fields of a form body or of a query, application/x-www-form-urlencoded.
class FormFields {
public:
    /// None when anything is out of order: a broken percent sign, a byte that does not belong
    /// there, a NUL, broken UTF-8, a name twice or empty, more than 32 fields, a name above 64 or
    /// a value above 8,192 bytes. "+" is a blank; an empty text has no fields.
    static std::optional<FormFields> decode(std::string_view text);

    /// The value under a name; none when the field is not there. Lives as long as the fields.
    std::optional<std::string_view> find(std::string_view name) const;

private:
    std::vector<std::pair<std::string, std::string>> m_fields;
};

/// Letters, digits, "-", ".", "_" and "~": what stands for itself in every part of an address.
bool isUnreserved(char character);

/// Percent-encodes everything but unreserved characters: fit for a form, a query
/// and a path segment.
std::string percentEncoded(std::string_view text);

} // namespace lumivane::service
