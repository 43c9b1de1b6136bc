#pragma once

#include "server/store/StoreError.h"

#include <soci/connection-pool.h>
#include <soci/soci.h>

#include <chrono>
#include <cstddef>

namespace lumivane::service {

/// A connection out of a pool for the length of a scope. Throws StoreError busy where none comes
/// free in time.
class ConnectionLease {
public:
    ConnectionLease(soci::connection_pool& pool, std::chrono::milliseconds patience)
        : m_pool(pool) {
        if (!pool.try_lease(m_position, static_cast<int>(patience.count()))) {
            throw StoreError(StoreError::Case::busy, "no database connection came free in time");
        }
    }

    ConnectionLease(const ConnectionLease&) = delete;
    ConnectionLease& operator=(const ConnectionLease&) = delete;

    ~ConnectionLease() { m_pool.give_back(m_position); }

    soci::session& session() { return m_pool.at(m_position); }

private:
    soci::connection_pool& m_pool;
    std::size_t m_position = 0;
};

} // namespace lumivane::service
