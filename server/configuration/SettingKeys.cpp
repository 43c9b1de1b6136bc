#include "server/configuration/SettingKeys.h"

#include <boost/algorithm/string/case_conv.hpp>

#include <array>
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
    SettingKey{"development_token", SettingType::text},
};

} // namespace

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
