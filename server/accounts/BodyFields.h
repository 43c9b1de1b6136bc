#pragma once

#include <boost/json/value.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// Reads the texts of a small JSON record. Keys that nobody asks for are ignored; null counts as
/// absent. Everything throws AccountError: 400 "invalid_json" for what is no JSON, holds a key
/// twice or nests too deep, 422 "invalid_request" for a record of another shape.
class BodyFields {
public:
    explicit BodyFields(std::string_view body);

    /// A text of at most `mostBytes` bytes without NUL. `key` is a literal: refusals name it.
    std::string text(const char* key, std::size_t mostBytes) const;

    std::optional<std::string> optionalText(const char* key, std::size_t mostBytes) const;

private:
    boost::json::value m_document;
};

} // namespace lumivane::service
