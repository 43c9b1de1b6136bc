#pragma once

#include "platform/LogSink.h"

#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <string_view>

namespace lumivane {

/// Writes log lines to the journal, or to standard error where no journal takes them, and marks
/// intervals with probes.
///
/// A journal entry holds MESSAGE, PRIORITY, SYSLOG_IDENTIFIER, LUMIVANE_SUBSYSTEM and
/// LUMIVANE_CATEGORY. A line on standard error reads "[category] level: text". Intervals fire the
/// probes `interval__begin` and `interval__end` of the provider `lumivane`, with the name, its
/// length and the identifier; with nobody attached a probe costs nothing.
///
/// Any thread. No operation throws, waits for a reader or raises a signal: what cannot be written
/// at once is dropped.
class SystemLogSink final : public LogSink {
public:
    /// Which levels go to standard error; the journal takes all and filters when it is read.
    enum class Verbosity {
        standard, ///< `standard` and `error`
        everything
    };

    /// The socket at which a journal listens, if one runs.
    static constexpr std::string_view systemJournal = "/run/systemd/journal/socket";

    /// The journal to write to: none where `errorDescriptor` is a terminal or a file, since then
    /// somebody started the program by hand or keeps its output and looks there.
    static std::string_view journalFor(int errorDescriptor) noexcept;

    /// A journal that starts or stops later is noticed. `errorDescriptor` stays the caller's.
    explicit SystemLogSink(Verbosity verbosity = Verbosity::standard,
                           std::string_view journalPath = systemJournal,
                           int errorDescriptor = STDERR_FILENO) noexcept;
    ~SystemLogSink() override;
    SystemLogSink(const SystemLogSink&) = delete;
    SystemLogSink& operator=(const SystemLogSink&) = delete;

    void write(std::string_view subsystem, std::string_view category, LogLevel level,
               std::string_view line) noexcept override;
    void beginInterval(std::string_view name, std::uint64_t identifier) noexcept override;
    void endInterval(std::string_view name, std::uint64_t identifier) noexcept override;

private:
    bool journalTakes(std::string_view entry) const noexcept;
    bool isShownOnError(LogLevel level) const noexcept;

    Verbosity m_verbosity;
    int m_errorDescriptor;
    int m_socket = -1; ///< -1 when there is no journal to speak to at all
    sockaddr_un m_journal{};
};

} // namespace lumivane
