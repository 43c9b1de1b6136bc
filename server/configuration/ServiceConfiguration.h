#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

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

/// A provider of logins that is switched on. An address left empty is the provider's own.
struct ProviderConfiguration {
    std::string provider; ///< "google", "facebook" or "github"
    std::string clientId;
    std::string clientSecret;
    std::string authorizationUrl;
    std::string tokenUrl;
    std::string userUrl;
    std::string emailsUrl; ///< GitHub only
    std::string issuer;    ///< Google only
    std::string keysUrl;   ///< Google only
};

/// What the account side can be told.
struct AccountConfiguration {
    std::string databaseLocation;             ///< the path of a file, or a "postgresql://" URL
    std::optional<std::string> publicBaseUrl; ///< without a slash at its end
    bool isBehindProxy = false;
    std::chrono::minutes accessTokenLifetime{15};
    std::chrono::days refreshTokenLifetime{60};
    std::uint32_t loginsPerMinute = 60;    ///< requests of logins for each address; 0: no limit
    std::uint32_t refreshesPerMinute = 30; ///< for each session
    std::uint32_t handlesPerMinute = 120;  ///< for each account
    std::vector<ProviderConfiguration> providers;
};

/// Everything that the person who runs the service can choose.
struct ServiceConfiguration {
    std::string address = "127.0.0.1";
    std::uint16_t port = 8787; ///< 0 for any free port
    std::optional<ChatSettings> chat;
    std::filesystem::path dataFolder;
    std::filesystem::path promptsFolder;
    std::filesystem::path memoryFile; ///< the practice memory; it may be missing
    AccountConfiguration accounts;
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
