#include "server/configuration/ServiceConfiguration.h"

#include "server/configuration/AccountConfiguration.h"
#include "server/configuration/SettingKeys.h"

#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <unistd.h>

#include <fstream>
#include <sstream>

extern char** environ;

namespace lumivane::service {

namespace json = boost::json;
namespace fs = std::filesystem;

namespace {

constexpr std::string_view variablePrefix = "LUMIVANE_SERVICE_";
constexpr std::size_t fileBytes = 1024 * 1024;

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file || text.str().size() > fileBytes) {
        throw ConfigurationError("the configuration file cannot be read: " + path.string());
    }
    return text.str();
}

// Numbers may be written as such in the file; in the environment everything is text.
std::string textOf(const std::string& key, const SettingKey& setting, const json::value& value) {
    if (setting.type == SettingType::integer) {
        if (!value.is_int64()) {
            throw ConfigurationError("configuration key \"" + key + "\" must be an integer");
        }
        return std::to_string(value.get_int64());
    }
    if (setting.type == SettingType::flag) {
        if (!value.is_bool()) {
            throw ConfigurationError("configuration key \"" + key + "\" must be true or false");
        }
        return value.get_bool() ? "true" : "false";
    }
    if (!value.is_string()) {
        throw ConfigurationError("configuration key \"" + key + "\" must be a string");
    }
    return std::string(value.get_string());
}

SettingTexts readSettingsFile(const fs::path& path) {
    json::error_code error;
    const json::value document = json::parse(readFile(path), error);
    if (error || !document.is_object()) {
        throw ConfigurationError("the configuration file is not one JSON object: " + path.string());
    }
    SettingTexts settings;
    for (const auto& member : document.get_object()) {
        const std::string key(member.key());
        const SettingKey* setting = findSetting(key);
        if (setting == nullptr) {
            throw ConfigurationError("unknown configuration key \"" + key + "\"");
        }
        settings[key] =
            SettingText{"configuration key \"" + key + "\"", textOf(key, *setting, member.value())};
    }
    return settings;
}

void readVariables(const Surroundings& surroundings, SettingTexts& settings) {
    for (const auto& [name, value] : surroundings.environment) {
        if (!name.starts_with(variablePrefix)) {
            continue;
        }
        const SettingKey* setting = findSettingOfVariable(name.substr(variablePrefix.size()));
        if (setting == nullptr) {
            throw ConfigurationError("unknown environment variable " + name);
        }
        settings[std::string(setting->key)] = SettingText{"environment variable " + name, value};
    }
}

std::string variable(const Surroundings& surroundings, const char* name) {
    const auto found = surroundings.environment.find(name);
    return found == surroundings.environment.end() ? std::string() : found->second;
}

// A relative path under an XDG variable counts as unset, as that standard says.
fs::path baseFolder(const Surroundings& surroundings, const char* name, const char* underHome) {
    fs::path configured = variable(surroundings, name);
    if (configured.is_absolute()) {
        return configured;
    }
    const std::string home = variable(surroundings, "HOME");
    if (home.empty()) {
        throw ConfigurationError(std::string("neither ") + name + " nor HOME is set");
    }
    return fs::path(home) / underHome;
}

fs::path defaultPromptsFolder(const Surroundings& surroundings) {
    std::error_code ignored;
    const fs::path installed =
        (surroundings.executableFolder / LUMIVANE_PROMPTS_RELATIVE_FOLDER).lexically_normal();
    return fs::is_directory(installed, ignored) ? installed
                                                : fs::path(LUMIVANE_PROMPTS_SOURCE_FOLDER);
}

// Installed beside the prompts; in a build beside the service itself.
fs::path defaultMemoryFile(const Surroundings& surroundings) {
    std::error_code ignored;
    const fs::path installed =
        (surroundings.executableFolder / LUMIVANE_MEMORY_RELATIVE_FILE).lexically_normal();
    return fs::is_regular_file(installed, ignored)
               ? installed
               : surroundings.executableFolder / installed.filename();
}

std::optional<ChatSettings> chatOf(const SettingTexts& settings) {
    const auto url = take(settings, "chat_base_url");
    const auto model = take(settings, "chat_model");
    const auto key = take(settings, "chat_api_key");
    if (!url) {
        const auto& lone = model ? model : key;
        if (lone) {
            throw ConfigurationError(lone->source + " is set, and \"chat_base_url\" is not");
        }
        return std::nullopt;
    }
    if (!model) {
        throw ConfigurationError(url->source + " is set, and \"chat_model\" is not");
    }
    ChatSettings chat{nonEmpty(*url), nonEmpty(*model), std::nullopt};
    if (key) {
        chat.apiKey = headerSafe(*key, 1);
    }
    return chat;
}

} // namespace

Surroundings surroundingsOfProcess() {
    Surroundings surroundings;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        const auto equals = text.find('=');
        if (equals != std::string_view::npos) {
            surroundings.environment.emplace(text.substr(0, equals), text.substr(equals + 1));
        }
    }
    std::error_code ignored;
    surroundings.executableFolder = fs::read_symlink("/proc/self/exe", ignored).parent_path();
    return surroundings;
}

fs::path defaultConfigurationFile(const Surroundings& surroundings) {
    return baseFolder(surroundings, "XDG_CONFIG_HOME", ".config") / "lumivane-service" /
           "config.json";
}

ServiceConfiguration loadConfiguration(const std::optional<fs::path>& named,
                                       const Surroundings& surroundings) {
    const fs::path file = named ? *named : defaultConfigurationFile(surroundings);
    SettingTexts settings;
    if (named || fs::exists(file)) {
        settings = readSettingsFile(file);
    }
    readVariables(surroundings, settings);

    ServiceConfiguration configuration;
    if (const auto address = take(settings, "address")) {
        configuration.address = nonEmpty(*address);
    }
    if (const auto port = take(settings, "port")) {
        configuration.port = static_cast<std::uint16_t>(numberOf(*port, 0, 65535));
    }
    configuration.chat = chatOf(settings);
    const auto data = take(settings, "data_folder");
    configuration.dataFolder =
        data ? fs::path(nonEmpty(*data))
             : baseFolder(surroundings, "XDG_DATA_HOME", ".local/share") / "lumivane-service";
    const auto prompts = take(settings, "prompts_folder");
    configuration.promptsFolder =
        prompts ? fs::path(nonEmpty(*prompts)) : defaultPromptsFolder(surroundings);
    const auto memory = take(settings, "memory_file");
    configuration.memoryFile =
        memory ? fs::path(nonEmpty(*memory)) : defaultMemoryFile(surroundings);
    configuration.accounts = accountConfiguration(settings, configuration.dataFolder);
    return configuration;
}

} // namespace lumivane::service
