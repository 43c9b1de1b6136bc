#pragma once

#include "async/Clock.h"
#include "platform/LogSink.h"
#include "records/AnalysisTimings.h"

#include <qcoro/qcorotask.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>

namespace lumivane::LumivaneSignpost {

// The measured stages of a run.
inline constexpr std::string_view capture = "capture";
inline constexpr std::string_view ocr = "ocr";
inline constexpr std::string_view encode = "encode";
inline constexpr std::string_view network = "network";
inline constexpr std::string_view warmUp = "warmUp";

/// An open interval; it closes when this goes, whichever way the stage ends.
class Interval {
public:
    /// `name` is one of the names above, or another literal.
    explicit Interval(std::string_view name);
    ~Interval();
    Interval(const Interval&) = delete;
    Interval& operator=(const Interval&) = delete;

private:
    std::string_view m_name;
    std::uint64_t m_identifier;
    std::shared_ptr<LogSink> m_sink; ///< the one that heard of the beginning
};

/// What a measured stage gave and how long it took.
template <typename T>
struct Measured {
    T value;
    std::int64_t milliseconds = 0;
};

/// Runs `operation` inside an interval of the stage's name, on the caller's own thread. What it
/// throws goes on, behind the interval's end. `clock` outlives the stage.
template <typename T>
QCoro::Task<Measured<T>> measure(std::string_view name, const Clock& clock,
                                 std::function<QCoro::Task<T>()> operation) {
    const Interval interval(name);
    const MonotonicInstant begin = clock.now();
    T value = co_await operation();
    const auto elapsed = AnalysisTimings::milliseconds(clock.now() - begin);
    co_return Measured<T>{std::move(value), elapsed};
}

/// The same for a stage that gives nothing.
inline QCoro::Task<std::int64_t> measure(std::string_view name, const Clock& clock,
                                         std::function<QCoro::Task<void>()> operation) {
    const Interval interval(name);
    const MonotonicInstant begin = clock.now();
    co_await operation();
    co_return AnalysisTimings::milliseconds(clock.now() - begin);
}

} // namespace lumivane::LumivaneSignpost
