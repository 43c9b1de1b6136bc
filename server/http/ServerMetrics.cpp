#include "server/http/ServerMetrics.h"

#include <charconv>

namespace lumivane::service {

namespace {

constexpr std::array<std::string_view, 6> statusClasses{"none", "1xx", "2xx", "3xx", "4xx", "5xx"};

std::size_t classOf(int status) {
    const auto hundreds = static_cast<std::size_t>(status / 100);
    return status < 100 || hundreds >= statusClasses.size() ? 0 : hundreds;
}

std::string number(double value) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    return {digits.data(), end.ptr};
}

void appendHead(std::string& text, std::string_view name, std::string_view help,
                std::string_view type) {
    text.append("# HELP ").append(name).append(" ").append(help).append("\n");
    text.append("# TYPE ").append(name).append(" ").append(type).append("\n");
}

void appendSample(std::string& text, std::string_view name, std::string_view labels,
                  const std::string& value) {
    text.append(name).append(labels.empty() ? "" : "{").append(labels);
    text.append(labels.empty() ? " " : "} ").append(value).append("\n");
}

std::string label(std::string_view name, std::string_view value) {
    return std::string(name).append("=\"").append(value).append("\"");
}

constexpr std::string_view requestsName = "lumivane_http_requests_total";
constexpr std::string_view durationsName = "lumivane_http_request_duration_seconds";

} // namespace

void ServerMetrics::countRequest(std::string_view routeName, int status,
                                 std::chrono::microseconds duration) {
    const double seconds = std::chrono::duration<double>(duration).count();
    m_requests.try_emplace(std::string(routeName)).first->second.at(classOf(status)) += 1;
    Durations& durations = m_durations.try_emplace(std::string(routeName)).first->second;
    durations.count += 1;
    durations.seconds += seconds;
    for (std::size_t index = 0; index < bounds.size(); ++index) {
        if (seconds <= bounds.at(index)) {
            durations.counts.at(index) += 1;
            break;
        }
    }
}

void ServerMetrics::addGauge(std::string name, std::string help, std::function<double()> read) {
    m_gauges.push_back(Gauge{std::move(name), std::move(help), std::move(read)});
}

void ServerMetrics::addCounters(std::string name, std::string help, std::function<Counts()> read) {
    m_counters.push_back(Counters{std::move(name), std::move(help), std::move(read)});
}

std::string ServerMetrics::text() const {
    std::string text;
    appendRequests(text);
    appendDurations(text);
    appendGauges(text);
    appendCounters(text);
    return text;
}

void ServerMetrics::appendRequests(std::string& text) const {
    appendHead(text, requestsName, "Finished requests.", "counter");
    for (const auto& [route, counts] : m_requests) {
        for (std::size_t index = 0; index < counts.size(); ++index) {
            if (counts.at(index) > 0) {
                const std::string labels =
                    label("route", route) + "," + label("status", statusClasses.at(index));
                appendSample(text, requestsName, labels, std::to_string(counts.at(index)));
            }
        }
    }
}

void ServerMetrics::appendDurations(std::string& text) const {
    appendHead(text, durationsName, "From a request's first byte to its answer's last.",
               "histogram");
    const std::string name(durationsName);
    for (const auto& [route, durations] : m_durations) {
        std::uint64_t below = 0;
        for (std::size_t index = 0; index < bounds.size(); ++index) {
            below += durations.counts.at(index);
            const std::string labels =
                label("route", route) + "," + label("le", number(bounds.at(index)));
            appendSample(text, name + "_bucket", labels, std::to_string(below));
        }
        const std::string count = std::to_string(durations.count);
        appendSample(text, name + "_bucket", label("route", route) + "," + label("le", "+Inf"),
                     count);
        appendSample(text, name + "_sum", label("route", route), number(durations.seconds));
        appendSample(text, name + "_count", label("route", route), count);
    }
}

void ServerMetrics::appendGauges(std::string& text) const {
    for (const Gauge& gauge : m_gauges) {
        appendHead(text, gauge.name, gauge.help, "gauge");
        appendSample(text, gauge.name, "", number(gauge.read()));
    }
}

void ServerMetrics::appendCounters(std::string& text) const {
    for (const Counters& counters : m_counters) {
        appendHead(text, counters.name, counters.help, "counter");
        for (const auto& [labels, count] : counters.read()) {
            appendSample(text, counters.name, labels, std::to_string(count));
        }
    }
}

} // namespace lumivane::service
