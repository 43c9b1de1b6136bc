#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>
#include <vector>

namespace lumivane::bench {

/// Times of one piece of work, in milliseconds.
class Samples {
public:
    template <typename Work>
    void measure(Work&& work) {
        const auto begin = std::chrono::steady_clock::now();
        std::forward<Work>(work)();
        const std::chrono::duration<double, std::milli> elapsed =
            std::chrono::steady_clock::now() - begin;
        m_times.push_back(elapsed.count());
    }

    double median() const { return sorted().at(m_times.size() / 2); }

    /// Of the round that the rest of the machine disturbed least: what ratios are made of.
    double best() const { return sorted().front(); }

private:
    std::vector<double> sorted() const {
        std::vector<double> times = m_times;
        std::sort(times.begin(), times.end());
        return times;
    }

    std::vector<double> m_times;
};

/// One line per figure: what, its value, its bar and whether it holds. Returns whether it does.
inline bool verdict(const char* what, double value, const char* unit, double bar) {
    const bool holds = value <= bar;
    std::printf("%-44s %8.2f %-3s bar %6.2f %-3s %s\n", what, value, unit, bar, unit,
                holds ? "ok" : "MISSED");
    return holds;
}

} // namespace lumivane::bench
