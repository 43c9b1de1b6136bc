#include "server/application/EventLog.h"

namespace lumivane::service {

namespace {

std::string word(std::string_view name, std::string_view value) {
    return " " + std::string(name) + "=" + std::string(value);
}

std::string label(std::string_view name, std::string_view value) {
    return std::string(name) + "=\"" + std::string(value) + "\"";
}

std::string_view outcomeOf(const LoginEvent& event) {
    if (!event.failure) {
        return "proved";
    }
    switch (event.failure->refusal) {
    case LoginRefusal::denied:
        return "denied";
    case LoginRefusal::unavailable:
        return "unavailable";
    case LoginRefusal::failed:
        break;
    }
    return "failed";
}

std::string circumstances(const LoginFailure& failure) {
    std::string words =
        word("step", rawValue(failure.stage)) + word("fault", rawValue(failure.fault));
    return failure.status == 0 ? words : words + word("status", std::to_string(failure.status));
}

} // namespace

EventLog::EventLog(LogWriter writer)
    : m_writer(std::move(writer)) {
    // Whoever watches for the first failure must have seen that there was none.
    for (const auto errorCase : {StoreError::Case::unavailable, StoreError::Case::busy}) {
        m_storeFailures[label("case", rawValue(errorCase))] = 0;
    }
}

void EventLog::storeFailed(const StoreError& error) {
    const std::string_view errorCase = rawValue(error.errorCase());
    count(m_storeFailures, label("case", errorCase));
    m_writer("store failed" + word("case", errorCase) + " reason=\"" + error.what() + "\"");
}

void EventLog::loginEnded(const LoginEvent& event) {
    const std::string_view provider = rawValue(event.provider);
    const std::string_view outcome = outcomeOf(event);
    count(m_logins, label("provider", provider) + "," + label("outcome", outcome));
    m_writer("login" + word("provider", provider) + word("outcome", outcome) +
             (event.failure ? circumstances(*event.failure) : "") +
             word("request_id", event.requestId));
}

void EventLog::noLogins() {
    m_writer(
        "nobody can log in: no provider is configured, and none stands in behind a proxy or at "
        "a public address");
}

void EventLog::addTo(ServerMetrics& metrics) {
    const auto reader = [this](const Counts& counts) {
        return [this, &counts] {
            const std::lock_guard lock(m_mutex);
            return counts;
        };
    };
    metrics.addCounters("lumivane_store_failures_total", "Calls that the database failed.",
                        reader(m_storeFailures));
    metrics.addCounters("lumivane_logins_total", "Logins that came back to the service.",
                        reader(m_logins));
}

void EventLog::count(Counts& counts, const std::string& labels) {
    const std::lock_guard lock(m_mutex);
    ++counts[labels];
}

} // namespace lumivane::service
