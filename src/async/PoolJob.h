#pragma once

#include "async/Completion.h"

#include <QThreadPool>
#include <qcoro/qcorotask.h>

#include <concepts>
#include <exception>
#include <memory>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace lumivane {

/// Runs `job` on a worker of `pool` and awaits what it returns or throws. Main thread.
///
/// A requested stop ends the wait at once with Cancelled, before or during the job. A job that
/// has begun is not torn down: it gets the same token to look at, runs to its end and its result
/// is dropped. So a job owns all that it uses. A job still queued is then never begun.
template <std::invocable<std::stop_token> Job>
QCoro::Task<std::invoke_result_t<Job, std::stop_token>> runOnPool(QThreadPool& pool, Job job,
                                                                  std::stop_token stop) {
    using Result = std::invoke_result_t<Job, std::stop_token>;
    throwIfStopped(stop);
    Completion<Result> finished;
    auto work = [finished, stop, job = std::move(job)]() mutable {
        try {
            throwIfStopped(stop);
            if constexpr (std::is_void_v<Result>) {
                job(stop);
                finished.resolve();
            } else {
                finished.resolve(job(stop));
            }
        } catch (...) {
            finished.fail(std::current_exception());
        }
    };
    // QThreadPool wants a copyable callable; jobs may hold what can only be moved.
    auto shared = std::make_shared<decltype(work)>(std::move(work));
    pool.start([shared = std::move(shared)] { (*shared)(); });
    co_return co_await finished.wait(stop);
}

} // namespace lumivane
