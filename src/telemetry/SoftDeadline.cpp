#include "telemetry/SoftDeadline.h"

#include <utility>

namespace lumivane {

SoftDeadline::SoftDeadline(Clock& clock)
    : m_clock(clock)
    , m_hasElapsed(std::make_shared<bool>(false)) {}

void SoftDeadline::arm(std::chrono::nanoseconds delay, std::function<void()> onElapse) {
    cancel();
    *m_hasElapsed = false;
    m_task = TaskHandle::start([clock = &m_clock, delay, hasElapsed = std::weak_ptr(m_hasElapsed),
                                onElapse = std::move(onElapse)](std::stop_token stop) {
        return run(clock, delay, hasElapsed, onElapse, std::move(stop));
    });
}

void SoftDeadline::cancel() { m_task = TaskHandle(); }

QCoro::Task<void> SoftDeadline::run(Clock* clock, std::chrono::nanoseconds delay,
                                    std::weak_ptr<bool> hasElapsed, std::function<void()> onElapse,
                                    std::stop_token stop) {
    co_await clock->sleep(delay, stop);
    const auto flag = hasElapsed.lock();
    if (stop.stop_requested() || !flag) {
        co_return;
    }
    *flag = true;
    onElapse();
}

} // namespace lumivane
