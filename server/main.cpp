#include "server/application/LumivaneService.h"
#include "server/application/OperationRoutes.h"
#include "server/configuration/CommandLine.h"
#include "server/configuration/ServiceConfiguration.h"

#include <boost/asio/signal_set.hpp>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <vector>

namespace {

using namespace lumivane::service;
namespace asio = boost::asio;

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

// Every connection is a file descriptor, and the usual soft limit is below what is served.
void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// Pictures, words and tokens must not end up in the image of a crash. One byte is too little for a
// file, and the one value at which the kernel starts no program that collects images either.
void leaveNoCores() {
    rlimit limit{};
    if (getrlimit(RLIMIT_CORE, &limit) == 0) {
        limit.rlim_cur = std::min<rlim_t>(1, limit.rlim_max);
        setrlimit(RLIMIT_CORE, &limit);
    }
}

// The second signal ends the process on the spot, for a person who does not want to wait.
void stopOnSignal(asio::signal_set& signals, LumivaneService& service) {
    signals.async_wait([&signals, &service](boost::system::error_code error, int) {
        if (error) {
            return;
        }
        service.stop();
        signals.cancel();
        signals.clear();
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGTERM, SIG_DFL);
    });
}

int serve(const ServiceConfiguration& configuration) {
    asio::io_context context(1);
    LumivaneService service(context, configuration, writeToStandardError);
    service.start();
    asio::signal_set signals(context, SIGINT, SIGTERM);
    stopOnSignal(signals, service);
    std::cout << "listening on " << serviceUrl(configuration.address, service.port()) << std::endl;
    context.run();
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
    leaveNoCores();
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
