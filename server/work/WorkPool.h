#pragma once

#include "server/work/WorkLoad.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <type_traits>
#include <utility>

namespace lumivane::service {

namespace detail {

template <typename Work>
boost::asio::awaitable<std::invoke_result_t<Work>> callOnce(WorkLoad& load, Work work) {
    const RunningWork counted(load);
    co_return work();
}

} // namespace detail

/// Runs `work`, which may block or compute, on a thread of `pool` and comes back to the caller's
/// own executor with what it returned or threw. Work that has begun cannot be cancelled, so it
/// must be bounded; the caller waits for its end.
template <typename Work>
boost::asio::awaitable<std::invoke_result_t<Work>> runOnWorkPool(boost::asio::thread_pool& pool,
                                                                 Work work) {
    WorkLoad& load = WorkLoad::of(pool);
    load.addWaiting();
    auto call = detail::callOnce<Work>(load, std::move(work));
    co_return co_await boost::asio::co_spawn(pool, std::move(call), boost::asio::use_awaitable);
}

} // namespace lumivane::service
