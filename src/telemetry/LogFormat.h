#pragma once

#include "domain/ClosedSet.h"
#include "domain/HotKey.h"

#include <QString>

#include <array>
#include <concepts>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <type_traits>

namespace lumivane {

/// An identifier that a peer chose, such as a request's. It is logged only when it looks like one:
/// 1 to 64 of the characters A-Z, a-z, 0-9, ".", "_", "-"; any other text shows as "-".
class LogIdentifier {
public:
    explicit LogIdentifier(const QString& text);

    std::string_view text() const { return m_text; }

private:
    std::string m_text;
};

/// The name of an error's type, never its text.
class LogTypeName {
public:
    explicit LogTypeName(const std::exception& error);

    std::string_view text() const { return m_name; }

private:
    std::string m_name;
};

/// A name that the program itself wrote down as a literal.
class LogName {
public:
    template <std::size_t Size>
    consteval explicit(false) LogName(const char (&literal)[Size])
        : m_name(literal, Size - 1) {}

    std::string_view text() const { return m_name; }

private:
    std::string_view m_name;
};

namespace logging {

/// The marker that an argument of this type must stand behind. Only types with one can be logged
/// at all, so that no user text reaches a log by mistake.
template <typename Argument>
consteval std::string_view markerFor() {
    if constexpr (std::same_as<Argument, bool>) {
        return "%{bool,public}d";
    } else if constexpr (std::same_as<Argument, std::int32_t>) {
        return "%{public}d";
    } else if constexpr (std::same_as<Argument, std::uint32_t>) {
        return "%{public}u";
    } else if constexpr (std::same_as<Argument, std::int64_t>) {
        return "%{public}ld";
    } else if constexpr (std::same_as<Argument, double>) {
        return "%{public}f";
    } else if constexpr (ClosedSet<Argument> || std::same_as<Argument, HotKey> ||
                         std::same_as<Argument, LogIdentifier> ||
                         std::same_as<Argument, LogTypeName> || std::same_as<Argument, LogName>) {
        return "%{public}s";
    } else {
        return {};
    }
}

template <typename Argument>
concept Loggable = !markerFor<Argument>().empty();

void appendValue(std::string& line, bool value);
void appendValue(std::string& line, std::int32_t value);
void appendValue(std::string& line, std::uint32_t value);
void appendValue(std::string& line, std::int64_t value);
void appendValue(std::string& line, double value);
void appendValue(std::string& line, std::string_view value);
void appendValue(std::string& line, const HotKey& value);

inline void appendValue(std::string& line, const LogIdentifier& value) {
    appendValue(line, value.text());
}

inline void appendValue(std::string& line, const LogTypeName& value) {
    appendValue(line, value.text());
}

inline void appendValue(std::string& line, const LogName& value) {
    appendValue(line, value.text());
}

template <ClosedSet Case>
void appendValue(std::string& line, Case value) {
    const QLatin1String raw = rawValue(value);
    appendValue(line, std::string_view(raw.data(), static_cast<std::size_t>(raw.size())));
}

// Not defined: a format that does not fit its arguments fails to compile with one of these names.
void logFormatMarkerDoesNotFitItsArgument();
void logFormatHasMoreMarkersThanArguments();
void logFormatHasFewerMarkersThanArguments();

} // namespace logging

/// A log format, checked against its arguments when it is compiled.
template <typename... Arguments>
class LogFormat {
    static_assert((logging::Loggable<Arguments> && ...), "this type may not be logged");

public:
    template <std::size_t Size>
    consteval explicit(false) LogFormat(const char (&format)[Size])
        : m_format(format, Size - 1) {
        std::size_t position = 0;
        std::size_t argument = 0;
        while ((position = m_format.find('%', position)) != std::string_view::npos) {
            if (argument == markers.size()) {
                logging::logFormatHasMoreMarkersThanArguments();
            }
            if (!m_format.substr(position).starts_with(markers[argument])) {
                logging::logFormatMarkerDoesNotFitItsArgument();
            }
            position += markers[argument].size();
            ++argument;
        }
        if (argument != markers.size()) {
            logging::logFormatHasFewerMarkersThanArguments();
        }
    }

    /// The line with every marker replaced by its argument.
    std::string format(const Arguments&... arguments) const {
        std::string line;
        [[maybe_unused]] std::string_view rest = m_format;
        (appendUpToMarker(line, rest, arguments), ...);
        line += rest;
        return line;
    }

private:
    static constexpr std::array<std::string_view, sizeof...(Arguments)> markers{
        logging::markerFor<Arguments>()...};

    template <typename Argument>
    static void appendUpToMarker(std::string& line, std::string_view& rest,
                                 const Argument& argument) {
        const std::size_t marker = rest.find('%');
        line += rest.substr(0, marker);
        rest.remove_prefix(marker + logging::markerFor<Argument>().size());
        logging::appendValue(line, argument);
    }

    std::string_view m_format;
};

} // namespace lumivane
