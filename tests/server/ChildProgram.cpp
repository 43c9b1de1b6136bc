#include "server/ChildProgram.h"

#include "server/ProgramStart.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace lumivane::service::test {

ChildProgram::ChildProgram(const std::vector<std::string>& words) {
    std::array<int, 2> output{};
    if (::pipe2(output.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    m_process = startProgram({.words = words, .output = output[1]});
    ::close(output[1]);
    m_output = output[0];
    if (m_process < 0) {
        ::close(m_output);
        throw std::runtime_error("a program of the build does not start");
    }
}

ChildProgram::~ChildProgram() {
    kill();
    ::close(m_output);
}

std::string ChildProgram::readLine() {
    for (;;) {
        const auto end = m_read.find('\n');
        if (end != std::string::npos) {
            std::string line = m_read.substr(0, end);
            m_read.erase(0, end + 1);
            return line;
        }
        pollfd entry{m_output, POLLIN, 0};
        std::array<char, 4096> bytes{};
        const auto count =
            ::poll(&entry, 1, 20'000) > 0 ? ::read(m_output, bytes.data(), bytes.size()) : 0;
        if (count <= 0) {
            return "";
        }
        m_read.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

void ChildProgram::kill() {
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
        m_process = -1;
    }
}

} // namespace lumivane::service::test
