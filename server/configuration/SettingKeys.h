#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

enum class SettingType { integer, text, flag };

/// One setting: its key in the file, which in upper case is also the end of its variable's name.
struct SettingKey {
    std::string_view key;
    SettingType type;
};

/// A setting as written, and where it was written, for messages.
struct SettingText {
    std::string source;
    std::string text;
};

using SettingTexts = std::map<std::string, SettingText>;

/// What was set under a key; none when nothing was.
std::optional<SettingText> take(const SettingTexts& settings, const std::string& key);

/// The text of a setting that must say something. This one and those below throw
/// ConfigurationError, which names the source and not the text.
std::string nonEmpty(const SettingText& setting);

/// A decimal number from `least` to `most`.
std::uint32_t numberOf(const SettingText& setting, std::uint32_t least, std::uint32_t most);

/// "true" or "false".
bool flagOf(const SettingText& setting);

/// At least `fewest` visible ASCII characters: fit for a header line as they stand.
std::string headerSafe(const SettingText& setting, std::size_t fewest);

/// None for a key that the service does not know.
const SettingKey* findSetting(std::string_view key);

/// The same by the end of a variable's name, "CHAT_MODEL".
const SettingKey* findSettingOfVariable(std::string_view ending);

} // namespace lumivane::service
