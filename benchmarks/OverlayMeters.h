#pragma once

#include "Figures.h"
#include "async/SystemClock.h"

#include <QGuiApplication>

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace lumivane::bench {

/// Knows how long the main thread was with one event at most, and when panels painted.
class MeteredApplication final : public QGuiApplication {
public:
    using QGuiApplication::QGuiApplication;

    bool notify(QObject* receiver, QEvent* event) override;

    double longest = 0;                    ///< milliseconds
    std::optional<MonotonicInstant> frame; ///< the first one since it was reset
    int syncs = 0;

private:
    bool m_isInside = false;
};

/// Measures what repeated timers do with their turns.
class MeteredClock final : public Clock {
public:
    MonotonicInstant now() const override { return m_clock.now(); }

    QDateTime wallNow() const override { return m_clock.wallNow(); }

    std::unique_ptr<ClockTimer> after(std::chrono::nanoseconds delay,
                                      std::function<void()> callback) override;
    std::unique_ptr<ClockTimer> every(std::chrono::nanoseconds interval,
                                      std::function<void()> callback) override;

    Figures ticks;

private:
    SystemClock m_clock;
};

/// What of the machine's memory the program holds, in KiB; throws where nobody tells.
double residentKiB();
int openFiles();

/// Prints a figure and whether its bar is met. Returns whether it is.
bool tell(bool isMet, const char* words);

template <typename... Values>
bool tell(bool isMet, const char* format, Values... values) {
    char words[256];
    std::snprintf(words, sizeof words, format, values...);
    return tell(isMet, words);
}

} // namespace lumivane::bench
