#include "server/analysis/ChatCompletionsEngine.h"
#include "server/analysis/ExtractiveEngine.h"
#include "server/application/LumivaneService.h"
#include "server/configuration/CommandLine.h"
#include "server/configuration/DevelopmentToken.h"
#include "server/configuration/ServiceConfiguration.h"
#include "server/http/StaticTokenAuthorizer.h"

#include <boost/asio/signal_set.hpp>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <vector>

namespace {

using namespace lumivane::service;
namespace asio = boost::asio;

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;
constexpr std::size_t workThreads = 2;

// Every connection is a file descriptor, and the usual soft limit is below what is served.
void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// The second signal ends the process on the spot, for a person who does not want to wait.
void stopOnSignal(asio::signal_set& signals, HttpServer& server) {
    signals.async_wait([&signals, &server](boost::system::error_code error, int) {
        if (error) {
            return;
        }
        server.stop();
        signals.cancel();
        signals.clear();
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGTERM, SIG_DFL);
    });
}

std::unique_ptr<AnalysisEngine> makeEngine(const ServiceConfiguration& configuration,
                                           asio::thread_pool& pool) {
    if (!configuration.chat) {
        return std::make_unique<ExtractiveEngine>(pool);
    }
    const ChatSettings& chat = *configuration.chat;
    try {
        auto transport = makeHttpChatTransport(parseChatEndpoint(chat.baseUrl), chat.apiKey);
        return std::make_unique<ChatCompletionsEngine>(
            std::move(transport), chat.model, PromptLibrary::load(configuration.promptsFolder));
    } catch (const ChatEndpointError& error) {
        throw ConfigurationError(std::string("\"chat_base_url\" ") + error.what());
    } catch (const PromptError& error) {
        throw ConfigurationError(std::string("\"prompts_folder\": ") + error.what());
    }
}

int serve(const ServiceConfiguration& configuration) {
    const std::string token = configuration.developmentToken
                                  ? *configuration.developmentToken
                                  : loadOrMakeDevelopmentToken(configuration.dataFolder);
    asio::thread_pool pool(workThreads);
    asio::io_context context(1);
    const auto engine = makeEngine(configuration, pool);
    StaticTokenAuthorizer authorizer(token);
    HttpServer server(context, makeServiceRouter(authorizer, *engine, pool), ServerLimits{},
                      writeToStandardError);
    server.listen(ListenAddress{configuration.address, configuration.port});
    asio::signal_set signals(context, SIGINT, SIGTERM);
    stopOnSignal(signals, server);
    std::cout << "listening on http://" << configuration.address << ":" << server.port()
              << std::endl;
    context.run();
    pool.join();
    return EXIT_SUCCESS;
}

int run(const std::vector<std::string>& arguments) {
    const CommandLine line = parseCommandLine(arguments);
    if (line.action == CommandLine::Action::showHelp) {
        std::cout << helpText();
        return EXIT_SUCCESS;
    }
    if (line.action == CommandLine::Action::showVersion) {
        std::cout << "lumivane-service " << serviceVersion() << "\n";
        return EXIT_SUCCESS;
    }
    return serve(loadConfiguration(line.configurationFile, surroundingsOfProcess()));
}

int fail(int status, const std::exception& error) {
    std::cerr << "lumivane-service: " << error.what() << "\n";
    return status;
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    raiseDescriptorLimit();
    try {
        return run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const UsageError& error) {
        std::cerr << "lumivane-service: " << error.what() << "; try --help\n";
        return exitUsage;
    } catch (const ConfigurationError& error) {
        return fail(exitUsage, error);
    } catch (const std::exception& error) {
        return fail(exitFailure, error);
    }
}
