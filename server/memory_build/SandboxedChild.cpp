#include "server/memory_build/SandboxedChild.h"

#include "server/memory_build/FileConfinement.h"
#include "server/work/MonotonicTime.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

namespace lumivane::service {

namespace {

constexpr uid_t nobody = 65534;

// The child's report on itself, written before the program starts. The pipe closes with the start,
// so that an end without a failure means that the program runs.
struct Report {
    int networkIsOwn = 0;
    int isRoot = 0;
    int filesAreReadOnly = 0;
    int filesAreHidden = 0;
    int failure = 0; ///< errno; 0 as long as nothing failed
};

class Descriptor {
public:
    explicit Descriptor(int value = -1)
        : m_value(value) {}

    ~Descriptor() { close(); }

    Descriptor(Descriptor&& other) noexcept
        : m_value(std::exchange(other.m_value, -1)) {}

    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_value, other.m_value);
        return *this;
    }

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return m_value; }

    void close() {
        if (m_value >= 0) {
            ::close(std::exchange(m_value, -1));
        }
    }

private:
    int m_value;
};

struct Pipe {
    Descriptor readEnd;
    Descriptor writeEnd;
};

Pipe makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw SandboxError(std::string("no pipe: ") + std::strerror(errno));
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

// For what the child reads: writing to a pipe that nobody reads would end this process.
Pipe makeSocketPair() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw SandboxError(std::string("no socket: ") + std::strerror(errno));
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

// Whether a user with no rights of their own gets to the program, which may lie in a home folder.
bool canAnybodyRun(const std::filesystem::path& program) {
    std::error_code error;
    const auto whole = std::filesystem::canonical(program, error);
    std::filesystem::path part;
    for (const auto& name : whole) {
        part /= name;

        struct stat facts {};

        if (::stat(part.c_str(), &facts) != 0 || (facts.st_mode & S_IXOTH) == 0) {
            return false;
        }
    }
    return !error;
}

// Everything behind the fork and before the program calls nothing that allocates.
class Child {
public:
    Child(const std::filesystem::path& program, const std::vector<std::string>& arguments,
          const SandboxLimits& limits)
        : m_program(program.string())
        , m_files(program)
        , m_limits(limits)
        , m_dropsUser(::geteuid() == 0 && canAnybodyRun(program)) {
        m_arguments.push_back(m_program.data());
        for (const std::string& argument : arguments) {
            m_copies.push_back(argument);
        }
        for (std::string& copy : m_copies) {
            m_arguments.push_back(copy.data());
        }
        m_arguments.push_back(nullptr);
    }

    [[noreturn]] void become(int input, int output, int reports) {
        Report report;
        ::setsid();
        ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        report.isRoot = ::geteuid() == 0 && !m_dropsUser ? 1 : 0;
        const bool isApart = ::geteuid() == 0 && leave(0, report);
        bool isReady = connect(input, output, reports) && dropUser();
        if (!isApart) {
            // Without rights of one's own the namespaces need a user namespace around them.
            leave(CLONE_NEWUSER, report);
        }
        // A change of user takes this back, so it comes behind it.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        report.filesAreHidden = m_files.hideAllButLibraries() ? 1 : 0;
        isReady = isReady && limitAll();
        if (isReady) {
            send(report); // the descriptor closes itself with the start
            std::array<char*, 1> environment{nullptr};
            ::execve(m_program.c_str(), m_arguments.data(), environment.data());
        }
        report.failure = errno != 0 ? errno : EINVAL;
        send(report);
        ::_exit(1);
    }

private:
    static constexpr int reportDescriptor = 3;

    static void send(const Report& report) {
        [[maybe_unused]] const auto written = ::write(reportDescriptor, &report, sizeof report);
    }

    // Leaves the namespaces of everybody else: the files' as well, where the system lets it.
    static bool leave(int around, Report& report) {
        constexpr int apart = CLONE_NEWNET | CLONE_NEWIPC;
        if (::unshare(around | apart | CLONE_NEWNS) == 0) {
            report.filesAreReadOnly = FileConfinement::makeAllReadOnly() ? 1 : 0;
        } else if (::unshare(around | apart) != 0) {
            return false;
        }
        report.networkIsOwn = 1;
        return true;
    }

    static bool connect(int input, int output, int reports) {
        const int nothing = ::open("/dev/null", O_WRONLY);
        // All above the numbers that they go to, or one would close another.
        constexpr int above = 10;
        const int from = ::fcntl(input, F_DUPFD, above);
        const int to = ::fcntl(output, F_DUPFD, above);
        const int back = ::fcntl(reports, F_DUPFD, above);
        return nothing >= 0 && ::dup2(from, STDIN_FILENO) >= 0 && ::dup2(to, STDOUT_FILENO) >= 0 &&
               ::dup2(nothing, STDERR_FILENO) >= 0 &&
               ::dup3(back, reportDescriptor, O_CLOEXEC) >= 0 &&
               ::close_range(reportDescriptor + 1, ~0U, 0) == 0 && ::chdir("/") == 0;
    }

    bool dropUser() const {
        return !m_dropsUser ||
               (::setgroups(0, nullptr) == 0 && ::setresgid(nobody, nobody, nobody) == 0 &&
                ::setresuid(nobody, nobody, nobody) == 0);
    }

    static bool limit(__rlimit_resource resource, rlim_t most) {
        rlimit known{};
        if (::getrlimit(resource, &known) != 0) {
            return false;
        }
        const rlim_t allowed = known.rlim_max < most ? known.rlim_max : most;
        const rlimit wanted{allowed, allowed};
        return ::setrlimit(resource, &wanted) == 0;
    }

    bool limitAll() const {
        constexpr rlim_t mostFiles = 16;
        return limit(RLIMIT_CPU, m_limits.cpuSeconds) && limit(RLIMIT_AS, m_limits.addressBytes) &&
               limit(RLIMIT_FSIZE, 0) && limit(RLIMIT_CORE, 0) && limit(RLIMIT_NOFILE, mostFiles) &&
               limit(RLIMIT_NPROC, 1);
    }

    std::string m_program;
    FileConfinement m_files;
    std::vector<std::string> m_copies;
    std::vector<char*> m_arguments;
    SandboxLimits m_limits;
    bool m_dropsUser;
};

// Feeds and reads the child until it has said everything, or until a limit of the outside is met.
class Conversation {
public:
    Conversation(Descriptor input, Descriptor output, Descriptor process, const std::string& text,
                 const SandboxLimits& limits)
        : m_input(std::move(input))
        , m_output(std::move(output))
        , m_process(std::move(process))
        , m_rest(text)
        , m_limits(limits)
        , m_deadline(monotonicNow() + limits.wallTime) {}

    void hold(SandboxResult& result) {
        feed();
        // A closed stream counts as no stream, and the process itself as the last one.
        while (m_process.get() >= 0 || m_output.get() >= 0) {
            std::array<pollfd, 3> waiting{pollfd{m_output.get(), POLLIN, 0},
                                          pollfd{m_input.get(), POLLOUT, 0},
                                          pollfd{m_process.get(), POLLIN, 0}};
            const int left = milliseconds();
            if (left == 0) {
                result.end = SandboxResult::End::timedOut;
                return;
            }
            ::poll(waiting.data(), waiting.size(), left);
            if (waiting[1].revents != 0) {
                feed();
            }
            if (waiting[0].revents != 0 && !take(result.output)) {
                m_output.close();
            }
            if (waiting[2].revents != 0) {
                m_process.close();
            }
            if (result.output.size() > m_limits.outputBytes) {
                result.end = SandboxResult::End::saidTooMuch;
                return;
            }
        }
    }

private:
    int milliseconds() const {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - monotonicNow());
        return static_cast<int>(std::max(left, std::chrono::milliseconds(0)).count());
    }

    void feed() {
        while (!m_rest.empty()) {
            const auto written =
                ::send(m_input.get(), m_rest.data(), m_rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (written < 0 && (errno == EAGAIN || errno == EINTR)) {
                return;
            }
            if (written <= 0) {
                break; // it does not want to hear the rest
            }
            m_rest.remove_prefix(static_cast<std::size_t>(written));
        }
        m_input.close();
    }

    bool take(std::string& output) {
        std::array<char, 4096> bytes{};
        const auto size = ::read(m_output.get(), bytes.data(), bytes.size());
        if (size > 0) {
            output.append(bytes.data(), static_cast<std::size_t>(size));
        }
        return size > 0 || (size < 0 && errno == EINTR);
    }

    Descriptor m_input;
    Descriptor m_output;
    Descriptor m_process; ///< until it has ended
    std::string_view m_rest;
    SandboxLimits m_limits;
    MonotonicTime m_deadline;
};

// The last report counts: one that comes before the start, or one that says why there is none.
Report readReport(int descriptor) {
    Report last;
    last.failure = EPIPE;
    Report report;
    while (::read(descriptor, &report, sizeof report) == sizeof report) {
        last = report;
    }
    return last;
}

// Its number stays its own until it is collected, so that no stranger is ended with its group.
void endGroup(pid_t process) {
    ::kill(-process, SIGKILL);
    siginfo_t ignored{};
    while (::waitid(P_PID, static_cast<id_t>(process), &ignored, WEXITED | WNOWAIT) < 0 &&
           errno == EINTR) {
    }
    ::kill(-process, SIGKILL);
}

void collect(pid_t process, SandboxResult& result) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (result.end != SandboxResult::End::exited) {
        return;
    }
    if (WIFSIGNALED(status)) {
        result.end = SandboxResult::End::killed;
        result.status = WTERMSIG(status);
    } else {
        result.status = WEXITSTATUS(status);
    }
}

} // namespace

SandboxResult runSandboxed(const std::filesystem::path& program,
                           const std::vector<std::string>& arguments, const std::string& input,
                           const SandboxLimits& limits) {
    Pipe in = makeSocketPair();
    Pipe out = makePipe();
    Pipe reports = makePipe();
    Child child(program, arguments, limits);
    const pid_t process = ::fork();
    if (process < 0) {
        throw SandboxError(std::string("no process: ") + std::strerror(errno));
    }
    if (process == 0) {
        child.become(in.readEnd.get(), out.writeEnd.get(), reports.writeEnd.get());
    }
    in.readEnd.close();
    out.writeEnd.close();
    reports.writeEnd.close();
    SandboxResult result;
    const Report report = readReport(reports.readEnd.get());
    result.hasNoNetwork = report.networkIsOwn != 0;
    result.isUnprivileged = report.isRoot == 0;
    result.changesNoFiles = report.filesAreReadOnly != 0;
    result.seesNoFiles = report.filesAreHidden != 0;
    if (report.failure == 0) {
        result.end = SandboxResult::End::exited;
        Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
        Conversation(std::move(in.writeEnd), std::move(out.readEnd), std::move(handle), input,
                     limits)
            .hold(result);
    } else {
        result.status = report.failure;
    }
    endGroup(process);
    collect(process, result);
    return result;
}

} // namespace lumivane::service
