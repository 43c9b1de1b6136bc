#include "async/TaskHandle.h"

#include "async/Cancelled.h"
#include "async/MainThread.h"

#include <exception>
#include <utility>

namespace lumivane {

namespace {

EscapeHandler& escapeHandler() {
    static EscapeHandler handler = [](std::exception_ptr) { std::terminate(); };
    return handler;
}

} // namespace

TaskHandle& TaskHandle::operator=(TaskHandle&& other) noexcept {
    if (this != &other) {
        cancel();
        m_state = std::move(other.m_state);
    }
    return *this;
}

TaskHandle TaskHandle::start(Flow flow) {
    TaskHandle handle;
    handle.m_state = std::make_shared<State>();
    postToMainThread([flow = std::move(flow), state = handle.m_state] { run(flow, state); });
    return handle;
}

void TaskHandle::detach(Flow flow) {
    postToMainThread([flow = std::move(flow)] { run(flow, std::make_shared<State>()); });
}

void TaskHandle::setEscapeHandler(EscapeHandler handler) { escapeHandler() = std::move(handler); }

void TaskHandle::cancel() {
    if (m_state) {
        m_state->stop.request_stop();
    }
}

bool TaskHandle::isRunning() const { return m_state && !m_state->done; }

QCoro::Task<void> TaskHandle::run(Flow flow, std::shared_ptr<State> state) {
    // `flow` is a parameter, so the callable and what it holds live as long as its frame.
    std::exception_ptr escaped;
    try {
        co_await flow(state->stop.get_token());
    } catch (const Cancelled&) { // a cancelled flow has ended as it should
    } catch (...) {
        escaped = std::current_exception();
    }
    state->done = true;
    if (escaped) {
        escapeHandler()(escaped);
    }
}

} // namespace lumivane
