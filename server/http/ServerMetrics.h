#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// What the service counts of itself, for the network thread alone. The only labels are fixed
/// names of routes and classes of statuses, so nothing of a user can be among them.
class ServerMetrics {
public:
    /// Totals by the text of their labels.
    using Counts = std::map<std::string, std::uint64_t>;

    /// Counts a finished request. `routeName` is a route's fixed name or "none"; a status of 0
    /// stands for a client that left before its answer.
    void countRequest(std::string_view routeName, int status, std::chrono::microseconds duration);

    /// A value that is read anew each time it is asked for. `name` and `help` are plain words;
    /// what `read` needs must outlive the last call of `text`.
    void addGauge(std::string name, std::string help, std::function<double()> read);

    /// What somebody else counts, read anew each time: by label, as `provider="github"`. As above.
    void addCounters(std::string name, std::string help, std::function<Counts()> read);

    /// Everything in the Prometheus text form, version 0.0.4.
    std::string text() const;

private:
    static constexpr std::array<double, 13> bounds{0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1,
                                                   0.25,  0.5,    1,     5,    20,    120};

    struct Durations {
        std::array<std::uint64_t, bounds.size()> counts{}; // of those above the bound before
        std::uint64_t count = 0;
        double seconds = 0;
    };

    struct Gauge {
        std::string name;
        std::string help;
        std::function<double()> read;
    };

    struct Counters {
        std::string name;
        std::string help;
        std::function<Counts()> read;
    };

    void appendRequests(std::string& text) const;
    void appendDurations(std::string& text) const;
    void appendGauges(std::string& text) const;
    void appendCounters(std::string& text) const;

    std::map<std::string, std::array<std::uint64_t, 6>, std::less<>> m_requests;
    std::map<std::string, Durations, std::less<>> m_durations;
    std::vector<Gauge> m_gauges;
    std::vector<Counters> m_counters;
};

} // namespace lumivane::service
