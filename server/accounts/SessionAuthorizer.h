#pragma once

#include "server/http/Authorizer.h"
#include "server/store/WallClock.h"

#include <boost/asio/thread_pool.hpp>

#include <string>

namespace lumivane::service {

class Database;

/// Judges access tokens by the database, with one indexed look-up each, so that a session that was
/// ended on one replica is over on all of them at once. Refuses with `unauthorized`,
/// `device_evicted`, `insufficient_scope` (a takeover ticket) and `storage_unavailable`.
class SessionAuthorizer final : public Authorizer {
public:
    /// All must outlive the authorizer.
    SessionAuthorizer(Database& database, const WallClock& clock, boost::asio::thread_pool& pool)
        : m_database(database)
        , m_clock(clock)
        , m_pool(pool) {}

    boost::asio::awaitable<Authorization> authorize(std::string token) override;

    /// The same, blocking, on any thread. Throws StoreError.
    Authorization judge(const std::string& token);

    /// A device's last use is written down at most this often.
    static constexpr std::chrono::milliseconds seenInterval = std::chrono::minutes(1);

private:
    Database& m_database;
    const WallClock& m_clock;
    boost::asio::thread_pool& m_pool;
};

} // namespace lumivane::service
