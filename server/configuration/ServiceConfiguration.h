#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lumivane::service {

/// A setting is wrong. `what()` is a sentence that names the key and never its value.
class ConfigurationError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Where to find a model. Present as a whole or not at all.
struct ChatSettings {
    std::string baseUrl;
    std::string model;
    std::optional<std::string> apiKey;
};

/// Everything that the person who runs the service can choose.
struct ServiceConfiguration {
    std::string address = "127.0.0.1";
    std::uint16_t port = 8787; ///< 0 for any free port
    std::optional<ChatSettings> chat;
    std::filesystem::path dataFolder;
    std::filesystem::path promptsFolder;
    std::filesystem::path memoryFile;            ///< the practice memory; it may be missing
    std::optional<std::string> developmentToken; ///< replaces the token file, for tests
};

/// The process's surroundings as a value, so that tests need no process.
struct Surroundings {
    std::map<std::string, std::string> environment;
    std::filesystem::path executableFolder;
};

/// The surroundings of this process.
Surroundings surroundingsOfProcess();

/// Where settings are read from when the command line names no file.
std::filesystem::path defaultConfigurationFile(const Surroundings& surroundings);

/// Reads the file, then the variables LUMIVANE_SERVICE_..., which win. A missing file is an error
/// only when `named` is given. Throws ConfigurationError: unknown keys and variables, wrong
/// types and values out of range are errors, so that no setting is silently without effect.
ServiceConfiguration loadConfiguration(const std::optional<std::filesystem::path>& named,
                                       const Surroundings& surroundings);

} // namespace lumivane::service
