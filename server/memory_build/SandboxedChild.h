#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace lumivane::service {

/// The sandbox itself cannot be set up. `what()` says what was refused.
class SandboxError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a child may use.
struct SandboxLimits {
    std::uint64_t cpuSeconds = 10;
    std::uint64_t addressBytes = 1024ULL * 1024 * 1024;
    std::size_t outputBytes = 64UL * 1024;
    std::chrono::milliseconds wallTime{60'000};
};

/// How a child ended.
struct SandboxResult {
    enum class End {
        exited,       ///< status is its own
        killed,       ///< status is the signal that ended it, of the limits for one
        timedOut,     ///< ended from outside
        saidTooMuch,  ///< more output than is taken; ended from outside
        neverStarted, ///< the program could not be run; status is the system's reason
    };

    End end = End::neverStarted;
    int status = 0;
    std::string output;          ///< standard output
    bool hasNoNetwork = false;   ///< it ran in a network of its own, with nothing in it
    bool isUnprivileged = true;  ///< it did not run as root
    bool changesNoFiles = false; ///< every file was read-only to it, its permissions included
    bool seesNoFiles = false;    ///< it could read its program and libraries alone, and write none
};

/// Runs a program that nobody has to trust: a session and process group of its own, an empty
/// environment, nothing open but the three standard streams, no second process, not a byte written
/// to a file, bounded memory and time. No network, no file to read, empty, remove or change, and no
/// rights of root are what the system has to grant: what it refuses is left out and said in the
/// result. Blocks until the child and everything it started has ended. For one thread at a time.
/// `input` is what it reads on standard input. Throws SandboxError.
SandboxResult runSandboxed(const std::filesystem::path& program,
                           const std::vector<std::string>& arguments, const std::string& input,
                           const SandboxLimits& limits);

} // namespace lumivane::service
