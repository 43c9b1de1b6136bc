#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace lumivane::service::test {

/// The folder of one server. It goes with this object, or, where the process was killed, when the
/// next one is made.
class PostgresFolder {
public:
    /// Throws std::runtime_error.
    PostgresFolder();
    ~PostgresFolder();
    PostgresFolder(const PostgresFolder&) = delete;
    PostgresFolder& operator=(const PostgresFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
    int m_lock = -1; // held for as long as the folder is in use
};

/// A real PostgreSQL server for tests, in a folder of its own, reached over a socket there. It ends
/// with the process that started it, however that one ends. One thread.
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

    /// As makeDatabase, and often quicker: one that was given back will do. For LentDatabase.
    std::string lendDatabase();

    /// Ends all connections to a database and empties it for the next that asks. One that was
    /// dropped meanwhile is forgotten.
    void takeBack(const std::string& url) noexcept;

    /// The server's end as in a crash, and its start after one: the data stay.
    void stop();
    void start();

private:
    std::string url(const std::string& database) const;

    PostgresFolder m_folder;
    pid_t m_process = -1;
    int m_databases = 0;
    std::vector<std::string> m_free;
};

/// An empty database for as long as this lives.
class LentDatabase {
public:
    explicit LentDatabase(PostgresServer& server)
        : m_server(server)
        , m_url(server.lendDatabase()) {}

    ~LentDatabase() { m_server.takeBack(m_url); }

    LentDatabase(const LentDatabase&) = delete;
    LentDatabase& operator=(const LentDatabase&) = delete;

    const std::string& url() const { return m_url; }

private:
    PostgresServer& m_server;
    std::string m_url;
};

} // namespace lumivane::service::test
