#include "platform/linux/SystemLogSink.h"

#include <poll.h>
#include <pthread.h>
#include <sys/sdt.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>
#include <exception>
#include <string>

namespace lumivane {

namespace {

struct LevelNames {
    std::string_view word;
    std::string_view priority; ///< of syslog
};

constexpr LevelNames namesOf(LogLevel level) {
    switch (level) {
    case LogLevel::debug:
        return {"debug", "7"};
    case LogLevel::info:
        return {"info", "6"};
    case LogLevel::standard:
        return {"default", "5"};
    case LogLevel::error:
        break;
    }
    return {"error", "3"};
}

// A line break in a value would begin a new field, or a new line.
void appendOnOneLine(std::string& text, std::string_view value) {
    const std::size_t begin = text.size();
    text += value;
    std::replace_if(
        text.begin() + static_cast<std::ptrdiff_t>(begin), text.end(),
        [](char unit) { return unit == '\n' || unit == '\r' || unit == '\0'; }, ' ');
}

void appendField(std::string& entry, std::string_view name, std::string_view value) {
    entry += name;
    entry += '=';
    appendOnOneLine(entry, value);
    entry += '\n';
}

/// Keeps the signal of a reader that has gone away from the process while it lives.
class PipeSignalGuard {
public:
    PipeSignalGuard() {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
    }

    ~PipeSignalGuard() {
        const timespec atOnce{};
        if (!m_wasPending) {
            sigtimedwait(&m_pipe, nullptr, &atOnce);
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

    PipeSignalGuard(const PipeSignalGuard&) = delete;
    PipeSignalGuard& operator=(const PipeSignalGuard&) = delete;

private:
    sigset_t m_pipe{};
    sigset_t m_before{};
    bool m_wasPending = false;
};

bool takesMore(int descriptor) {
    pollfd wanted{descriptor, POLLOUT, 0};
    return poll(&wanted, 1, 0) == 1 && (wanted.revents & POLLOUT) != 0;
}

void writeAtOnce(int descriptor, std::string_view text) {
    const PipeSignalGuard guard;
    while (!text.empty() && takesMore(descriptor)) {
        // A pipe that can be written to takes this much without waiting.
        const ssize_t written =
            ::write(descriptor, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
        if (written < 0 && errno != EINTR) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
}

} // namespace

std::string_view SystemLogSink::journalFor(int errorDescriptor) noexcept {
    struct stat status {};

    const bool isFile = fstat(errorDescriptor, &status) == 0 && S_ISREG(status.st_mode);
    return isFile || isatty(errorDescriptor) != 0 ? std::string_view() : systemJournal;
}

SystemLogSink::SystemLogSink(Verbosity verbosity, std::string_view journalPath,
                             int errorDescriptor) noexcept
    : m_verbosity(verbosity)
    , m_errorDescriptor(errorDescriptor) {
    m_journal.sun_family = AF_UNIX;
    // An empty path would name a socket of the abstract kind that anybody may open.
    if (!journalPath.empty() && journalPath.size() < sizeof(m_journal.sun_path)) {
        std::copy(journalPath.begin(), journalPath.end(), m_journal.sun_path);
        m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    }
}

SystemLogSink::~SystemLogSink() {
    if (m_socket >= 0) {
        close(m_socket);
    }
}

void SystemLogSink::write(std::string_view subsystem, std::string_view category, LogLevel level,
                          std::string_view line) noexcept {
    try {
        const LevelNames names = namesOf(level);
        std::string entry;
        appendField(entry, "MESSAGE", line);
        appendField(entry, "PRIORITY", names.priority);
        appendField(entry, "SYSLOG_IDENTIFIER", "lumivane");
        appendField(entry, "LUMIVANE_SUBSYSTEM", subsystem);
        appendField(entry, "LUMIVANE_CATEGORY", category);
        if (journalTakes(entry) || !isShownOnError(level)) {
            return;
        }
        std::string text = "[";
        appendOnOneLine(text, category);
        text += "] ";
        text += names.word;
        text += ": ";
        appendOnOneLine(text, line);
        text += '\n';
        writeAtOnce(m_errorDescriptor, text);
    } catch (const std::exception&) {
        return; // a line for which there is no memory is no reason to fail
    }
}

void SystemLogSink::beginInterval(std::string_view name, std::uint64_t identifier) noexcept {
    DTRACE_PROBE3(lumivane, interval__begin, name.data(), name.size(), identifier);
}

void SystemLogSink::endInterval(std::string_view name, std::uint64_t identifier) noexcept {
    DTRACE_PROBE3(lumivane, interval__end, name.data(), name.size(), identifier);
}

// By hand, since the library's call always speaks to one fixed socket, waits while a journal is
// busy, and answers success where there is none. The form is the journal's native protocol.
bool SystemLogSink::journalTakes(std::string_view entry) const noexcept {
    return m_socket >= 0 &&
           sendto(m_socket, entry.data(), entry.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                  reinterpret_cast<const sockaddr*>(&m_journal),
                  sizeof(m_journal)) == static_cast<ssize_t>(entry.size());
}

bool SystemLogSink::isShownOnError(LogLevel level) const noexcept {
    return m_verbosity == Verbosity::everything || level == LogLevel::standard ||
           level == LogLevel::error;
}

} // namespace lumivane
