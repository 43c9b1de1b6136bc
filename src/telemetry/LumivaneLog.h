#pragma once

#include "platform/LogSink.h"
#include "telemetry/LogFormat.h"

#include <memory>
#include <string_view>
#include <type_traits>

namespace lumivane {

/// Writes the lines of one category. Any thread; never fails.
///
/// Lines hold statuses, durations, identifiers, flags and banded sizes only. Formats stand in the
/// code as literals and are checked against their arguments when compiled.
class Logger {
public:
    explicit constexpr Logger(std::string_view category)
        : m_category(category) {}

    template <typename... Arguments>
    void debug(LogFormat<std::type_identity_t<Arguments>...> format,
               const Arguments&... arguments) const {
        write(LogLevel::debug, format.format(arguments...));
    }

    template <typename... Arguments>
    void info(LogFormat<std::type_identity_t<Arguments>...> format,
              const Arguments&... arguments) const {
        write(LogLevel::info, format.format(arguments...));
    }

    /// The level that a reader sees without asking for more.
    template <typename... Arguments>
    void log(LogFormat<std::type_identity_t<Arguments>...> format,
             const Arguments&... arguments) const {
        write(LogLevel::standard, format.format(arguments...));
    }

    template <typename... Arguments>
    void error(LogFormat<std::type_identity_t<Arguments>...> format,
               const Arguments&... arguments) const {
        write(LogLevel::error, format.format(arguments...));
    }

private:
    void write(LogLevel level, std::string_view line) const;

    std::string_view m_category;
};

/// All loggers of the program, on one subsystem.
namespace LumivaneLog {

inline constexpr std::string_view subsystem = "com.marnoth.Lumivane";

inline constexpr Logger lifecycle{"lifecycle"}; ///< start, stop, state of the application
inline constexpr Logger settings{"settings"};   ///< the settings store
inline constexpr Logger trigger{"trigger"};     ///< shortcut and hot corner
inline constexpr Logger capture{"capture"};     ///< capture, reduction, recognition
inline constexpr Logger network{"network"};     ///< the analysis client
inline constexpr Logger overlay{"overlay"};     ///< the overlays
inline constexpr Logger timing{"timing"};       ///< run timing and signposts

/// Where all lines go from now on; none drops them. Returns the sink that served before.
std::shared_ptr<LogSink> setSink(std::shared_ptr<LogSink> sink);
std::shared_ptr<LogSink> sink();

} // namespace LumivaneLog

} // namespace lumivane
