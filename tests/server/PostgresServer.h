#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace lumivane::service::test {

/// A real PostgreSQL server for tests, in a folder of its own, reached over a socket there. It ends
/// with the process that started it, however that one ends.
class PostgresServer {
public:
    /// The one that all tests of this process share, started when first asked for.
    static PostgresServer& shared();

    /// Starts one and waits until it answers. Throws std::runtime_error.
    PostgresServer();
    ~PostgresServer();
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    /// Makes an empty database and gives its URL.
    std::string makeDatabase();

    /// Drops a database with all connections to it.
    void dropDatabase(const std::string& url);

    /// The server's end as in a crash, and its start after one: the data stay.
    void stop();
    void start();

private:
    std::string url(const std::string& database) const;

    std::filesystem::path m_folder;
    pid_t m_process = -1;
    int m_databases = 0;
};

} // namespace lumivane::service::test
