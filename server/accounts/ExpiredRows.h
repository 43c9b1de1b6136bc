#pragma once

#include "server/store/WallClock.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/thread_pool.hpp>

namespace lumivane::service {

class Database;

/// Deletes what has expired long enough ago that nobody asks for it any more: tokens, tickets,
/// proofs, logins under way, and sessions without a token. Works in small steps, so that others
/// get in between. Blocks; any thread, several replicas at once. Throws StoreError.
void deleteExpiredRows(Database& database, WallTime now);

/// Does so every `interval`, for the first time after one, for as long as the caller's executor
/// runs; a database that cannot be used is tried again at the next turn. All must outlive it.
boost::asio::awaitable<void> keepDeletingExpiredRows(Database& database, const WallClock& clock,
                                                     boost::asio::thread_pool& pool,
                                                     std::chrono::milliseconds interval);

} // namespace lumivane::service
