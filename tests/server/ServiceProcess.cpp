#include "server/ServiceProcess.h"

#include "server/ProgramStart.h"
#include "support/WaitForCondition.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace lumivane::service::test {

using lumivane::test::waitForCondition;

namespace {

// Reads what comes within the time; false at the end.
bool readSome(int descriptor, int milliseconds, std::string& text) {
    pollfd entry{descriptor, POLLIN, 0};
    if (::poll(&entry, 1, milliseconds) <= 0) {
        return false;
    }
    char bytes[4096];
    const auto count = ::read(descriptor, bytes, sizeof bytes);
    if (count > 0) {
        text.append(bytes, static_cast<std::size_t>(count));
    }
    return count > 0;
}

} // namespace

ServiceProcess::ServiceProcess(std::vector<std::string> arguments,
                               std::map<std::string, std::string> environment) {
    int output[2];
    int errors[2];
    if (::pipe2(output, O_CLOEXEC) != 0 || ::pipe2(errors, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    arguments.insert(arguments.begin(), LUMIVANE_SERVICE_EXECUTABLE);
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment) {
        variables.push_back(name + "=" + value);
    }
    m_process = startProgram({.words = std::move(arguments),
                              .output = output[1],
                              .errors = errors[1],
                              .environment = std::move(variables)});
    ::close(output[1]);
    ::close(errors[1]);
    m_outputPipe = output[0];
    m_errorPipe = errors[0];
}

ServiceProcess::~ServiceProcess() {
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }
    ::close(m_outputPipe);
    ::close(m_errorPipe);
}

std::uint16_t ServiceProcess::waitForPort() {
    while (m_output.find('\n') == std::string::npos) {
        if (!readSome(m_outputPipe, 10'000, m_output)) {
            return 0;
        }
    }
    const auto colon = m_output.rfind(':');
    return static_cast<std::uint16_t>(std::atoi(m_output.c_str() + colon + 1));
}

void ServiceProcess::signal(int number) { ::kill(m_process, number); }

int ServiceProcess::waitForEnd() {
    int status = 0;
    const bool hasEnded =
        waitForCondition([&] { return ::waitpid(m_process, &status, WNOHANG) == m_process; });
    if (!hasEnded) {
        return -1;
    }
    m_process = -1;
    while (readSome(m_outputPipe, 0, m_output)) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string ServiceProcess::errors() {
    while (readSome(m_errorPipe, 0, m_errors)) {
    }
    return m_errors;
}

} // namespace lumivane::service::test
