#include "telemetry/LumivaneLog.h"

#include <mutex>
#include <utility>

namespace lumivane {

namespace {

struct SinkSlot {
    std::mutex mutex;
    std::shared_ptr<LogSink> sink;
};

SinkSlot& slot() {
    static SinkSlot value;
    return value;
}

} // namespace

namespace LumivaneLog {

std::shared_ptr<LogSink> setSink(std::shared_ptr<LogSink> sink) {
    const std::lock_guard lock(slot().mutex);
    return std::exchange(slot().sink, std::move(sink));
}

std::shared_ptr<LogSink> sink() {
    const std::lock_guard lock(slot().mutex);
    return slot().sink;
}

} // namespace LumivaneLog

void Logger::write(LogLevel level, std::string_view line) const {
    if (const auto sink = LumivaneLog::sink()) {
        sink->write(LumivaneLog::subsystem, m_category, level, line);
    }
}

} // namespace lumivane
