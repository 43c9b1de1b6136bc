#include "telemetry/LumivaneSignpost.h"

#include "telemetry/LumivaneLog.h"

#include <atomic>

namespace lumivane::LumivaneSignpost {

namespace {

std::uint64_t nextIdentifier() {
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

} // namespace

Interval::Interval(std::string_view name)
    : m_name(name)
    , m_identifier(nextIdentifier())
    , m_sink(LumivaneLog::sink()) {
    if (m_sink) {
        m_sink->beginInterval(m_name, m_identifier);
    }
}

Interval::~Interval() {
    if (m_sink) {
        m_sink->endInterval(m_name, m_identifier);
    }
}

} // namespace lumivane::LumivaneSignpost
