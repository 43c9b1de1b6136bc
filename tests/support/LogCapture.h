#pragma once

#include "platform/LogSink.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::test {

/// Collects every log line and interval while it lives.
class LogCapture {
public:
    struct Line {
        std::string category;
        LogLevel level;
        std::string text;

        bool operator==(const Line&) const = default;
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Line> lines() const;

    /// The texts of one category, in order.
    std::vector<std::string> texts(std::string_view category) const;

    /// How many lines are exactly `text`, at `level` in `category`.
    int count(std::string_view category, LogLevel level, std::string_view text) const;

    /// How many lines of any category start with `prefix`.
    int countStartingWith(std::string_view prefix) const;

    /// True when any line holds `text` anywhere.
    bool holds(std::string_view text) const;

    /// "begin NAME" and "end NAME", in order.
    std::vector<std::string> intervals() const;

private:
    class Sink;
    std::shared_ptr<Sink> m_sink;
    std::shared_ptr<LogSink> m_previous;
};

} // namespace lumivane::test
