#pragma once

#include "async/Cancelled.h"
#include "support/EventLoop.h"

#include <qcoro/qcorotask.h>

#include <exception>
#include <memory>
#include <optional>
#include <utility>

namespace lumivane::test {

/// How a flow ended: with a value, with an exception, or not yet.
template <typename Value>
struct Outcome {
    std::optional<Value> value;
    std::exception_ptr error;
    bool isCancelled = false;

    bool hasEnded() const { return value || error || isCancelled; }

    /// The exception when it is an `Error`, else none.
    template <typename Error>
    std::optional<Error> errorAs() const {
        if (error) {
            try {
                std::rethrow_exception(error);
            } catch (const Error& found) {
                return found;
            } catch (...) {
                return std::nullopt;
            }
        }
        return std::nullopt;
    }
};

namespace detail {

template <typename Value>
QCoro::Task<void> watch(QCoro::Task<Value> flow, std::shared_ptr<Outcome<Value>> outcome) {
    try {
        outcome->value = co_await flow;
    } catch (const Cancelled&) {
        outcome->isCancelled = true;
    } catch (...) {
        outcome->error = std::current_exception();
    }
}

} // namespace detail

/// Watches a started flow; what comes of it shows in the result while the event loop turns.
template <typename Value>
std::shared_ptr<Outcome<Value>> watch(QCoro::Task<Value> flow) {
    auto outcome = std::make_shared<Outcome<Value>>();
    detail::watch(std::move(flow), outcome);
    return outcome;
}

/// A flow without a value as one whose value is true.
inline QCoro::Task<bool> flagged(QCoro::Task<void> flow) {
    co_await flow;
    co_return true;
}

/// Turns the event loop until the flow has ended, or for `waitUntil`'s limit.
template <typename Value>
Outcome<Value> outcomeOf(QCoro::Task<Value> flow) {
    const auto outcome = watch(std::move(flow));
    waitUntil([&] { return outcome->hasEnded(); });
    return *outcome;
}

} // namespace lumivane::test
