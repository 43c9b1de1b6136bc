#include "server/configuration/CommandLine.h"

namespace lumivane::service {

CommandLine parseCommandLine(std::span<const std::string> arguments) {
    CommandLine line;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string& argument = arguments[index];
        if (argument == "--help" || argument == "-h") {
            line.action = CommandLine::Action::showHelp;
        } else if (argument == "--version") {
            line.action = CommandLine::Action::showVersion;
        } else if (argument == "--config") {
            if (index + 1 == arguments.size() || arguments[index + 1].empty()) {
                throw UsageError("--config needs a file");
            }
            line.configurationFile = arguments[++index];
        } else {
            throw UsageError("unknown argument: " + argument);
        }
    }
    return line;
}

std::string_view helpText() {
    return R"(usage: lumivane-service [--config FILE]

Serves the analysis of screens and its accounts, on a loopback address or behind a proxy.

  --config FILE  read settings from FILE, not from
                 $XDG_CONFIG_HOME/lumivane-service/config.json
  --help         show this text
  --version      show the version

Settings (in the file, or as a variable LUMIVANE_SERVICE_<KEY IN UPPER CASE>, which wins):

  address            a loopback address, or any behind a proxy (127.0.0.1)
  port               0 to 65535, 0 for any free port (8787)
  chat_base_url      a server with the /v1/chat/completions form; https, or http on loopback
  chat_model         the model's name there; needed with chat_base_url
  chat_api_key       sent to that server as its bearer key
  data_folder        where the service keeps its data ($XDG_DATA_HOME/lumivane-service)
  prompts_folder     where the prompts for the model are
  database_url       a SQLite file or postgresql://... (service.sqlite3 in data_folder)
  public_base_url    where browsers find the service; other machines need behind_proxy as well
  behind_proxy       true where a proxy that speaks HTTPS stands before the service (false)

docs/SERVICE.md describes these and the others: memory_file, the lifetimes of tokens, the limits
and the providers of logins.
)";
}

} // namespace lumivane::service
