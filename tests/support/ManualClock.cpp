#include "support/ManualClock.h"

#include "support/EventLoop.h"

#include <algorithm>

namespace lumivane::test {

using std::chrono::nanoseconds;

class ManualClock::Timer final : public ClockTimer {
public:
    Timer(std::weak_ptr<Timers> timers, std::uint64_t id)
        : m_timers(std::move(timers))
        , m_id(id) {}

    ~Timer() override {
        if (const auto timers = m_timers.lock()) {
            std::erase_if(*timers, [this](const auto& timer) { return timer.second.id == m_id; });
        }
    }

private:
    std::weak_ptr<Timers> m_timers;
    std::uint64_t m_id;
};

MonotonicInstant ManualClock::now() const { return {nanoseconds(m_elapsed.load())}; }

QDateTime ManualClock::wallNow() const {
    const QDateTime origin(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC);
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(now().sinceOrigin);
    return origin.addMSecs((elapsed + m_wallOffset).count());
}

std::unique_ptr<ClockTimer> ManualClock::after(nanoseconds delay, std::function<void()> callback) {
    return add(std::max(delay, nanoseconds::zero()), nanoseconds::zero(), std::move(callback));
}

std::unique_ptr<ClockTimer> ManualClock::every(nanoseconds interval,
                                               std::function<void()> callback) {
    const nanoseconds held = std::max<nanoseconds>(interval, std::chrono::milliseconds(1));
    return add(held, held, std::move(callback));
}

std::unique_ptr<ClockTimer> ManualClock::add(nanoseconds delay, nanoseconds interval,
                                             std::function<void()> callback) {
    const std::uint64_t id = ++m_lastId;
    m_timers->emplace(now().sinceOrigin + delay, Entry{id, interval, std::move(callback)});
    return std::make_unique<Timer>(m_timers, id);
}

void ManualClock::advance(nanoseconds duration) {
    const nanoseconds target = now().sinceOrigin + duration;
    drainEvents();
    while (!m_timers->empty() && m_timers->begin()->first <= target) {
        auto node = m_timers->extract(m_timers->begin());
        m_elapsed = std::max(node.key(), now().sinceOrigin).count();
        const std::function<void()> callback = node.mapped().callback;
        if (node.mapped().interval > nanoseconds::zero()) {
            node.key() += node.mapped().interval;
            m_timers->insert(std::move(node));
        }
        callback();
        drainEvents();
    }
    m_elapsed = target.count();
    drainEvents();
}

} // namespace lumivane::test
