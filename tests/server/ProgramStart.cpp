#include "server/ProgramStart.h"

#include <grp.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace lumivane::service::test {

namespace {

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<char*> all;
    for (const std::string& text : texts) {
        all.push_back(const_cast<char*>(text.c_str()));
    }
    all.push_back(nullptr);
    return all;
}

void takeDescriptor(int from, int to) {
    if (from >= 0) {
        ::dup2(from, to);
    }
}

} // namespace

pid_t startProgram(const ProgramStart& start) {
    // Nothing but system calls may follow in the child: other threads may hold any lock.
    const auto arguments = pointersTo(start.words);
    const auto variables =
        start.environment ? pointersTo(*start.environment) : std::vector<char*>();
    const pid_t parent = ::getpid();
    const pid_t process = ::fork();
    if (process != 0) {
        return process;
    }
    takeDescriptor(start.input, STDIN_FILENO);
    takeDescriptor(start.output, STDOUT_FILENO);
    takeDescriptor(start.errors, STDERR_FILENO);
    if (start.user && (::setgroups(0, nullptr) != 0 || ::setgid(start.user->group) != 0 ||
                       ::setuid(start.user->user) != 0)) {
        ::_exit(126);
    }
    // A change of the user would take this back.
    ::prctl(PR_SET_PDEATHSIG, start.endSignal);
    if (::getppid() != parent) {
        ::_exit(126);
    }
    ::execve(arguments.front(), arguments.data(), start.environment ? variables.data() : environ);
    ::_exit(127);
}

} // namespace lumivane::service::test
