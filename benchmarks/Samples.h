#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <utility>
#include <vector>

namespace lumivane::bench {

/// Times of one piece of work, in milliseconds: by the wall, or of the program's processor time,
/// which other programs on the machine disturb least.
class Samples {
public:
    enum class Time { wall, processor };

    explicit Samples(Time time = Time::wall)
        : m_time(time) {}

    template <typename Work>
    void measure(Work&& work) {
        const double begin = now();
        std::forward<Work>(work)();
        m_times.push_back(now() - begin);
    }

    double median() const { return sorted().at(m_times.size() / 2); }

    /// Of the round that was disturbed least: what ratios are made of.
    double best() const { return sorted().front(); }

private:
    double now() const {
        if (m_time == Time::processor) {
            return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
        }
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now().time_since_epoch();
        return time.count();
    }

    std::vector<double> sorted() const {
        std::vector<double> times = m_times;
        std::sort(times.begin(), times.end());
        return times;
    }

    Time m_time;
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
