#include "support/LogCapture.h"

#include "telemetry/LumivaneLog.h"

#include <algorithm>
#include <mutex>

namespace lumivane::test {

class LogCapture::Sink final : public LogSink {
public:
    void write(std::string_view, std::string_view category, LogLevel level,
               std::string_view line) override {
        const std::lock_guard lock(mutex);
        lines.push_back({std::string(category), level, std::string(line)});
    }

    void beginInterval(std::string_view name, std::uint64_t) override {
        addInterval("begin ", name);
    }

    void endInterval(std::string_view name, std::uint64_t) override { addInterval("end ", name); }

    void addInterval(std::string_view edge, std::string_view name) {
        const std::lock_guard lock(mutex);
        intervals.push_back(std::string(edge) + std::string(name));
    }

    std::mutex mutex;
    std::vector<Line> lines;
    std::vector<std::string> intervals;
};

LogCapture::LogCapture()
    : m_sink(std::make_shared<Sink>())
    , m_previous(LumivaneLog::setSink(m_sink)) {}

LogCapture::~LogCapture() { LumivaneLog::setSink(m_previous); }

std::vector<LogCapture::Line> LogCapture::lines() const {
    const std::lock_guard lock(m_sink->mutex);
    return m_sink->lines;
}

std::vector<std::string> LogCapture::texts(std::string_view category) const {
    std::vector<std::string> result;
    for (const Line& line : lines()) {
        if (line.category == category) {
            result.push_back(line.text);
        }
    }
    return result;
}

int LogCapture::count(std::string_view category, LogLevel level, std::string_view text) const {
    const auto all = lines();
    return static_cast<int>(std::count_if(all.begin(), all.end(), [&](const Line& line) {
        return line.category == category && line.level == level && line.text == text;
    }));
}

int LogCapture::countStartingWith(std::string_view prefix) const {
    const auto all = lines();
    return static_cast<int>(std::count_if(
        all.begin(), all.end(), [&](const Line& line) { return line.text.starts_with(prefix); }));
}

bool LogCapture::holds(std::string_view text) const {
    const auto all = lines();
    return std::any_of(all.begin(), all.end(),
                       [&](const Line& line) { return line.text.find(text) != std::string::npos; });
}

std::vector<std::string> LogCapture::intervals() const {
    const std::lock_guard lock(m_sink->mutex);
    return m_sink->intervals;
}

} // namespace lumivane::test
