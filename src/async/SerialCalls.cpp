#include "async/SerialCalls.h"

#include "async/Cancelled.h"
#include "async/TaskHandle.h"

#include <deque>
#include <exception>
#include <utility>

namespace lumivane {

struct SerialCalls::Line {
    QCoro::Task<void> enter() {
        if (!isBusy) {
            isBusy = true;
            co_return;
        }
        const Completion<void> turn;
        waiting.push_back(turn);
        co_await turn.wait(std::stop_token());
    }

    void leave() {
        if (waiting.empty()) {
            isBusy = false;
            return;
        }
        const Completion<void> next = waiting.front();
        waiting.pop_front();
        next.resolve();
    }

    bool isBusy = false;
    std::deque<Completion<void>> waiting;
};

SerialCalls::SerialCalls()
    : m_line(std::make_shared<Line>()) {}

QCoro::Task<void> SerialCalls::run(Call call, std::stop_token stop) const {
    throwIfStopped(stop);
    const Completion<void> finished;
    TaskHandle::detach([line = m_line, call = std::move(call), finished, stop](std::stop_token) {
        return perform(line, call, finished, stop);
    });
    co_await finished.wait(stop);
}

QCoro::Task<void> SerialCalls::perform(std::shared_ptr<Line> line, Call call,
                                       Completion<void> finished, std::stop_token stop) {
    co_await line->enter();
    try {
        throwIfStopped(stop);
        co_await call(stop);
        finished.resolve();
    } catch (...) {
        finished.fail(std::current_exception());
    }
    line->leave();
}

} // namespace lumivane
