#pragma once

#include <cstdint>
#include <string_view>

namespace lumivane {

/// How much a line matters, the least first; which levels are kept is up to the sink.
enum class LogLevel { debug, info, standard, error };

/// Where log lines and stage intervals end up: mechanism only. Any thread; never fails.
class LogSink {
public:
    virtual ~LogSink() = default;

    virtual void write(std::string_view subsystem, std::string_view category, LogLevel level,
                       std::string_view line) = 0;

    /// `name` is a literal of the program; `identifier` pairs a begin with its end.
    virtual void beginInterval(std::string_view name, std::uint64_t identifier) = 0;
    virtual void endInterval(std::string_view name, std::uint64_t identifier) = 0;
};

} // namespace lumivane
