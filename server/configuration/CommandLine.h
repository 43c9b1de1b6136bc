#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lumivane::service {

/// The command line cannot be obeyed. `what()` names the switch.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct CommandLine {
    enum class Action { serve, showHelp, showVersion };

    Action action = Action::serve;
    std::optional<std::filesystem::path> configurationFile;
};

/// The arguments without the program's name. Throws UsageError.
CommandLine parseCommandLine(std::span<const std::string> arguments);

/// What --help prints.
std::string_view helpText();

} // namespace lumivane::service
