#include "server/configuration/SettingKeys.h"

#include "server/configuration/ServiceConfiguration.h"

#include <boost/algorithm/string/case_conv.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <locale>

namespace lumivane::service {

namespace {

constexpr std::array settingKeys{
    SettingKey{"address", SettingType::text},
    SettingKey{"port", SettingType::integer},
    SettingKey{"chat_base_url", SettingType::text},
    SettingKey{"chat_model", SettingType::text},
    SettingKey{"chat_api_key", SettingType::text},
    SettingKey{"data_folder", SettingType::text},
    SettingKey{"prompts_folder", SettingType::text},
    SettingKey{"memory_file", SettingType::text},
    SettingKey{"database_url", SettingType::text},
    SettingKey{"public_base_url", SettingType::text},
    SettingKey{"behind_proxy", SettingType::flag},
    SettingKey{"access_token_minutes", SettingType::integer},
    SettingKey{"refresh_token_days", SettingType::integer},
    SettingKey{"logins_per_minute", SettingType::integer},
    SettingKey{"refreshes_per_minute", SettingType::integer},
    SettingKey{"handles_per_minute", SettingType::integer},
    SettingKey{"google_client_id", SettingType::text},
    SettingKey{"google_client_secret", SettingType::text},
    SettingKey{"google_authorization_url", SettingType::text},
    SettingKey{"google_token_url", SettingType::text},
    SettingKey{"google_user_url", SettingType::text},
    SettingKey{"google_issuer", SettingType::text},
    SettingKey{"google_keys_url", SettingType::text},
    SettingKey{"facebook_client_id", SettingType::text},
    SettingKey{"facebook_client_secret", SettingType::text},
    SettingKey{"facebook_authorization_url", SettingType::text},
    SettingKey{"facebook_token_url", SettingType::text},
    SettingKey{"facebook_user_url", SettingType::text},
    SettingKey{"github_client_id", SettingType::text},
    SettingKey{"github_client_secret", SettingType::text},
    SettingKey{"github_authorization_url", SettingType::text},
    SettingKey{"github_token_url", SettingType::text},
    SettingKey{"github_user_url", SettingType::text},
    SettingKey{"github_emails_url", SettingType::text},
};

} // namespace

std::span<const SettingKey> allSettings() { return settingKeys; }

std::optional<SettingText> take(const SettingTexts& settings, const std::string& key) {
    const auto found = settings.find(key);
    return found == settings.end() ? std::nullopt : std::optional(found->second);
}

std::string nonEmpty(const SettingText& setting) {
    if (setting.text.empty()) {
        throw ConfigurationError(setting.source + " must not be empty");
    }
    return setting.text;
}

std::uint32_t numberOf(const SettingText& setting, std::uint32_t least, std::uint32_t most) {
    std::uint32_t number = 0;
    const char* end = setting.text.data() + setting.text.size();
    const auto [rest, error] = std::from_chars(setting.text.data(), end, number);
    if (error != std::errc() || rest != end || number < least || number > most) {
        throw ConfigurationError(setting.source + " must be a number from " +
                                 std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
}

bool flagOf(const SettingText& setting) {
    if (setting.text != "true" && setting.text != "false") {
        throw ConfigurationError(setting.source + " must be true or false");
    }
    return setting.text == "true";
}

std::string headerSafe(const SettingText& setting, std::size_t fewest) {
    const auto isPlain = [](char character) { return character > ' ' && character < 0x7F; };
    const bool isUsable = setting.text.size() >= fewest &&
                          std::all_of(setting.text.begin(), setting.text.end(), isPlain);
    if (!isUsable) {
        throw ConfigurationError(setting.source + " must have at least " + std::to_string(fewest) +
                                 " visible ASCII characters");
    }
    return setting.text;
}

const SettingKey* findSetting(std::string_view key) {
    for (const SettingKey& setting : settingKeys) {
        if (setting.key == key) {
            return &setting;
        }
    }
    return nullptr;
}

const SettingKey* findSettingOfVariable(std::string_view ending) {
    for (const SettingKey& setting : settingKeys) {
        if (boost::algorithm::to_upper_copy(std::string(setting.key), std::locale::classic()) ==
            ending) {
            return &setting;
        }
    }
    return nullptr;
}

} // namespace lumivane::service
