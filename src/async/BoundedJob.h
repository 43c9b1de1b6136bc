#pragma once

#include "async/Clock.h"
#include "async/PoolJob.h"

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

namespace lumivane {

/// runOnPool with a limit: none once `limit` has passed, counted from the call, whether the job has
/// begun by then or not. The job's token is asked to stop at that moment too. Main thread; `clock`
/// and `pool` outlive the call.
template <std::invocable<std::stop_token> Job>
QCoro::Task<std::optional<std::invoke_result_t<Job, std::stop_token>>>
runOnPoolWithin(Clock& clock, std::chrono::nanoseconds limit, QThreadPool& pool, Job job,
                std::stop_token stop) {
    std::stop_source either;
    const auto timer = clock.after(limit, [&either] { either.request_stop(); });
    const auto forward = [&either] { either.request_stop(); };
    const std::stop_callback<decltype(forward)> onStop(stop, forward);
    try {
        co_return co_await runOnPool(pool, std::move(job), either.get_token());
    } catch (const Cancelled&) {
        throwIfStopped(stop);
        co_return std::nullopt;
    }
}

} // namespace lumivane
