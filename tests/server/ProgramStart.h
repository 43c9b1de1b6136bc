#pragma once

#include <sys/types.h>

#include <csignal>
#include <optional>
#include <string>
#include <vector>

namespace lumivane::service::test {

/// Whom a program runs as in place of the superuser.
struct ProgramUser {
    uid_t user = 0;
    gid_t group = 0;
};

/// A program to start. Descriptors are lent, and -1 leaves the one that this process has.
struct ProgramStart {
    std::vector<std::string> words; ///< its path and its arguments
    int input = -1;
    int output = -1;
    int errors = -1;
    std::optional<std::vector<std::string>> environment = {}; ///< "NAME=value"; none: this one's
    std::optional<ProgramUser> user = {};
    int endSignal = SIGKILL; ///< what it gets when this process ends, however it does
};

/// Gives its process, or -1. It lives no longer than the thread that calls this.
pid_t startProgram(const ProgramStart& start);

} // namespace lumivane::service::test
