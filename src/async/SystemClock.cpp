#include "async/SystemClock.h"

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace lumivane {

namespace {

class QtClockTimer final : public ClockTimer {
public:
    enum class Repeats { no, yes };

    QtClockTimer(std::chrono::nanoseconds interval, Repeats repeats,
                 std::function<void()> callback) {
        using std::chrono::milliseconds;
        // Rounded up, so that a timer never fires before its time.
        const auto rounded = std::chrono::ceil<milliseconds>(interval);
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setSingleShot(repeats == Repeats::no);
        const milliseconds longest = std::chrono::days(24);
        m_timer.setInterval(
            std::clamp(rounded, milliseconds(repeats == Repeats::yes ? 1 : 0), longest));
        // Called through a copy: the callback may destroy this timer.
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [callback = std::move(callback)] {
            const std::function<void()> copy = callback;
            copy();
        });
        m_timer.start();
    }

private:
    QTimer m_timer;
};

} // namespace

MonotonicInstant SystemClock::now() const {
    return {std::chrono::steady_clock::now().time_since_epoch()};
}

QDateTime SystemClock::wallNow() const { return QDateTime::currentDateTimeUtc(); }

std::unique_ptr<ClockTimer> SystemClock::after(std::chrono::nanoseconds delay,
                                               std::function<void()> callback) {
    return std::make_unique<QtClockTimer>(delay, QtClockTimer::Repeats::no, std::move(callback));
}

std::unique_ptr<ClockTimer> SystemClock::every(std::chrono::nanoseconds interval,
                                               std::function<void()> callback) {
    return std::make_unique<QtClockTimer>(interval, QtClockTimer::Repeats::yes,
                                          std::move(callback));
}

} // namespace lumivane
