#pragma once

#include <map>
#include <string>
#include <string_view>

namespace lumivane::service {

enum class SettingType { integer, text };

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

/// None for a key that the service does not know.
const SettingKey* findSetting(std::string_view key);

/// The same by the end of a variable's name, "CHAT_MODEL".
const SettingKey* findSettingOfVariable(std::string_view ending);

} // namespace lumivane::service
