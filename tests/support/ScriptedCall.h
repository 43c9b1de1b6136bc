#pragma once

#include "async/Completion.h"

#include <qcoro/qcorotask.h>

#include <functional>
#include <optional>
#include <stop_token>
#include <utility>
#include <vector>

namespace lumivane::test {

/// The answer of an asynchronous fake: at once by default, or held until the test releases it.
template <typename T>
class ScriptedCall {
public:
    explicit ScriptedCall(T answer)
        : m_answer(std::move(answer)) {}

    void answerWith(T answer) {
        m_answer = std::move(answer);
        m_failure = nullptr;
    }

    template <typename Error>
    void failWith(Error error) {
        m_failure = std::make_exception_ptr(std::move(error));
    }

    /// From now on calls wait for `release` or `fail`.
    void hold() { m_isHeld = true; }

    void letGo() { m_isHeld = false; }

    /// From now on a requested stop is not honoured, as by a port that cannot be cancelled.
    void ignoreStops() { m_ignoresStops = true; }

    /// Hears, inside the request, that a call which waits was asked to stop.
    std::function<void()> onStop;

    std::size_t pendingCount() const { return m_pending.size(); }

    void release(std::size_t index, T answer) { m_pending.at(index).resolve(std::move(answer)); }

    template <typename Error>
    void fail(std::size_t index, Error error) {
        m_pending.at(index).failWith(std::move(error));
    }

    /// Ends every call that still waits, also one that ignores stops.
    void cancelPending() {
        for (const Completion<T>& completion : m_pending) {
            completion.cancel();
        }
    }

    QCoro::Task<T> call(std::stop_token stop) {
        if (m_ignoresStops) {
            stop = std::stop_token();
        }
        throwIfStopped(stop);
        if (m_isHeld) {
            const Completion<T> completion;
            m_pending.push_back(completion);
            const std::stop_callback hears(stop, [onStop = onStop] {
                if (onStop) {
                    onStop();
                }
            });
            co_return co_await completion.wait(stop);
        }
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
        T answer = m_answer; // a member given to co_return would be moved from
        co_return answer;
    }

private:
    T m_answer;
    std::exception_ptr m_failure;
    bool m_isHeld = false;
    bool m_ignoresStops = false;
    std::vector<Completion<T>> m_pending;
};

} // namespace lumivane::test
