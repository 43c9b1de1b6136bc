#pragma once

#include "async/Cancelled.h"
#include "async/MainThread.h"

#include <qcoro/qcorotask.h>

#include <concepts>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace lumivane::test {

/// What became of one awaited thing.
template <typename T>
struct AwaitOutcome {
    std::optional<T> value;
    std::string error;
    int cancellations = 0;
    int resumptions = 0;
    bool suspended = false; ///< the awaiting coroutine had to wait
    bool onMainThread = true;

    bool isPending() const { return resumptions == 0; }
};

struct Nothing {
    bool operator==(const Nothing&) const = default;
};

/// Awaits `awaitable` and writes down what became of it. Catches errors in front of Cancelled on
/// purpose: a Cancelled that a handler for errors could swallow shows up as an error.
template <typename T, typename Awaitable>
QCoro::Task<void> observe(Awaitable awaitable, AwaitOutcome<T>* outcome) {
    try {
        if constexpr (std::same_as<T, Nothing>) {
            co_await std::move(awaitable);
            outcome->value.emplace();
        } else {
            outcome->value.emplace(co_await std::move(awaitable));
        }
    } catch (const std::exception& error) {
        outcome->error = error.what();
    } catch (const Cancelled&) {
        ++outcome->cancellations;
    }
    ++outcome->resumptions;
    outcome->onMainThread = isMainThread();
}

/// Starts to observe and says whether the awaiting coroutine had to wait.
template <typename T, typename Awaitable>
void startObserving(Awaitable awaitable, AwaitOutcome<T>& outcome) {
    observe<T>(std::move(awaitable), &outcome);
    outcome.suspended = outcome.isPending();
}

} // namespace lumivane::test
