#pragma once

#include "async/Cancelled.h"
#include "async/MainThread.h"

#include <coroutine>
#include <exception>
#include <memory>
#include <mutex>
#include <stop_token>
#include <type_traits>
#include <utility>
#include <variant>

namespace lumivane {

/// The leaf awaitable under every flow: a value that some callback delivers once.
///
/// The callback side holds a copy and calls `resolve` or `fail` from any thread; the first call
/// wins and later ones are dropped. The flow awaits `wait(stop)` on the main thread. A requested
/// stop ends the wait with Cancelled, wherever it comes from. The flow always resumes in a later
/// turn of the event loop, never inside `resolve` or `request_stop`, and exactly once; a wait on
/// a completion that is already settled does not suspend. A value whose construction throws
/// settles the completion with that exception.
template <typename T>
class Completion {
    struct State;

public:
    Completion()
        : m_state(std::make_shared<State>()) {}

    template <typename... Value>
    void resolve(Value&&... value) const {
        m_state->settle([&](auto& outcome) {
            outcome.template emplace<valueIndex>(std::forward<Value>(value)...);
        });
    }

    void fail(std::exception_ptr error) const {
        m_state->settle([&](auto& outcome) { outcome.template emplace<errorIndex>(error); });
    }

    template <typename Error>
    void failWith(Error error) const {
        fail(std::make_exception_ptr(std::move(error)));
    }

    void cancel() const { failWith(Cancelled{}); }

    /// Awaited at most once per completion.
    class Awaiter {
    public:
        Awaiter(std::shared_ptr<State> state, std::stop_token stop)
            : m_state(std::move(state)) {
            if (stop.stop_requested()) {
                Completion(m_state).cancel();
            } else if (stop.stop_possible()) {
                m_onStop = std::make_unique<StopCallback>(std::move(stop), Canceller{m_state});
            }
        }

        bool await_ready() const { return m_state->isSettled(); }

        bool await_suspend(std::coroutine_handle<> waiter) { return m_state->suspend(waiter); }

        T await_resume() {
            m_onStop.reset();
            return m_state->take();
        }

    private:
        struct Canceller {
            std::weak_ptr<State> state;

            void operator()() const {
                if (auto alive = state.lock()) {
                    Completion(alive).cancel();
                }
            }
        };

        using StopCallback = std::stop_callback<Canceller>;

        std::shared_ptr<State> m_state;
        std::unique_ptr<StopCallback> m_onStop; ///< on the heap, since awaiters are moved
    };

    Awaiter wait(std::stop_token stop) const { return Awaiter(m_state, std::move(stop)); }

private:
    using Stored = std::conditional_t<std::is_void_v<T>, std::monostate, T>;
    static constexpr std::size_t valueIndex = 1;
    static constexpr std::size_t errorIndex = 2;

    struct Pending {};

    struct State {
        template <typename Store>
        void settle(Store store) {
            std::coroutine_handle<> waiter;
            {
                const std::lock_guard lock(mutex);
                if (outcome.index() != 0) {
                    return;
                }
                try {
                    store(outcome);
                } catch (...) {
                    outcome.template emplace<errorIndex>(std::current_exception());
                }
                waiter = std::exchange(waiting, nullptr);
            }
            if (waiter) {
                postToMainThread([waiter] { waiter.resume(); });
            }
        }

        bool isSettled() {
            const std::lock_guard lock(mutex);
            return outcome.index() != 0;
        }

        bool suspend(std::coroutine_handle<> waiter) {
            const std::lock_guard lock(mutex);
            if (outcome.index() != 0) {
                return false;
            }
            waiting = waiter;
            return true;
        }

        T take() {
            const std::lock_guard lock(mutex);
            if (outcome.index() == errorIndex) {
                std::rethrow_exception(std::get<errorIndex>(outcome));
            }
            if constexpr (!std::is_void_v<T>) {
                return std::move(std::get<valueIndex>(outcome));
            }
        }

        std::mutex mutex;
        std::variant<Pending, Stored, std::exception_ptr> outcome;
        std::coroutine_handle<> waiting;
    };

    explicit Completion(std::shared_ptr<State> state)
        : m_state(std::move(state)) {}

    std::shared_ptr<State> m_state;
};

} // namespace lumivane
