#pragma once

#include <boost/json/object.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// What another server sent, read strictly; none where it is no JSON object.
std::optional<boost::json::object> parseJsonObject(std::string_view text);

/// None where the key is absent or holds no string.
std::optional<std::string> textField(const boost::json::object& object, std::string_view key);

/// None where the key is absent or holds no whole number.
std::optional<std::int64_t> integerField(const boost::json::object& object, std::string_view key);

/// Whether the key holds true, or the text "true", which some servers send in its place.
bool isTrueField(const boost::json::object& object, std::string_view key);

} // namespace lumivane::service
