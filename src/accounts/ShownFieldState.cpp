#include "accounts/ShownFieldState.h"

#include "async/Cancelled.h"

#include <utility>

namespace lumivane {

ShownFieldState::ShownFieldState(Clock& clock, AccountStatus& status, Reader reader, Writer writer)
    : m_clock(clock)
    , m_status(status)
    , m_reader(reader)
    , m_writer(writer) {}

void ShownFieldState::show(ProfileFieldState state) {
    keep();
    (m_status.*m_writer)(std::move(state));
}

void ShownFieldState::showFor(std::chrono::seconds duration, ProfileFieldState state) {
    show(state);
    m_clearTask = TaskHandle::start([self = Self(this), duration, state](std::stop_token stop) {
        return clearAfter(self, duration, state, std::move(stop));
    });
}

QCoro::Task<void> ShownFieldState::clearAfter(Self self, std::chrono::seconds duration,
                                              ProfileFieldState state, std::stop_token stop) {
    throwIfStopped(stop);
    if (!self) {
        co_return;
    }
    co_await self->m_clock.sleep(duration, stop);
    throwIfStopped(stop);
    if (self && self->state() == state) {
        (self->m_status.*self->m_writer)(ProfileFieldState::idle());
    }
}

} // namespace lumivane
