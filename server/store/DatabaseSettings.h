#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace lumivane::service {

struct DatabaseSettings {
    /// The path of a SQLite file, which is made with its folder where there is none, or a
    /// "postgresql://" URL.
    std::string location;
    /// Connections kept open, and so the transactions that can run at once: one for each thread
    /// that calls the database.
    std::size_t connections = 8;
    /// How long a call waits for others before it fails as busy.
    std::chrono::milliseconds patience{5000};
};

/// Whether a location is one of a PostgreSQL server.
bool namesServer(const std::string& location);

} // namespace lumivane::service
