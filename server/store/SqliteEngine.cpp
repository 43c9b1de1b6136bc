#include "server/store/SqliteEngine.h"

#include "server/store/ConnectionPool.h"
#include "server/store/GroupedWriter.h"
#include "server/store/StoreEngine.h"
#include "server/store/StoreError.h"

#include <fcntl.h>
#include <soci/sqlite3/soci-sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

namespace lumivane::service {

namespace {

using Case = StoreError::Case;

StoreError translated(const soci::soci_error& error) {
    const auto* own = dynamic_cast<const soci::sqlite3_soci_error*>(&error);
    const int primary = own != nullptr ? own->result() & 0xff : SQLITE_ERROR;
    switch (primary) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return {Case::busy, "the database file is held by another program"};
    case SQLITE_CONSTRAINT:
        return {Case::conflict, "the database refused a change that breaks its rules"};
    case SQLITE_NOTADB:
        return {Case::incompatible, "the database file is not a database"};
    case SQLITE_FULL:
        return {Case::unavailable, "there is no space left for the database file"};
    default:
        return {Case::unavailable, "the database file cannot be used"};
    }
}

struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};

std::optional<FileIdentity> identityOf(const std::string& path) {
    struct stat facts {};

    if (::stat(path.c_str(), &facts) != 0) {
        return std::nullopt;
    }
    return FileIdentity{facts.st_dev, facts.st_ino};
}

// The engine gives its companion files the mode of the file itself, so this one is made first.
void prepareFile(const std::string& path) {
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(path).parent_path();
    std::error_code failure;
    if (!folder.empty() && fs::create_directories(folder, failure)) {
        fs::permissions(folder, fs::perms::owner_all, failure);
    }
    const int file = failure ? -1 : ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0) {
        throw StoreError(Case::unavailable, "the database file cannot be opened or made");
    }
    const bool isPrivate = ::fchmod(file, 0600) == 0;
    ::close(file);
    if (!isPrivate) {
        throw StoreError(Case::unavailable, "the database file belongs to somebody else");
    }
}

class SqliteEngine final : public StoreEngine {
public:
    explicit SqliteEngine(const DatabaseSettings& settings)
        : m_settings(settings)
        , m_readers(settings.connections)
        , m_writes([this](const auto& group) { commit(group); }) {
        // The driver takes its options from one text, in which a quote would end the path.
        if (settings.location.find('"') != std::string::npos) {
            throw StoreError(Case::unavailable, "the path of the database file holds a quote");
        }
        prepareFile(settings.location);
        try {
            open(m_writer);
            for (std::size_t i = 0; i < settings.connections; ++i) {
                open(m_readers.at(i));
                m_readers.at(i) << "PRAGMA query_only = ON";
            }
        } catch (const soci::soci_error& error) {
            throw translated(error);
        }
        m_identity = identityOf(settings.location);
    }

    void write(const StoreWork& work) override { m_writes.run(work); }

    void migrate(const StoreWork& work) override { m_writes.run(work); }

    void read(const StoreWork& work) override {
        requireSameFile();
        ConnectionLease lease(m_readers, m_settings.patience);
        soci::session& sql = lease.session();
        try {
            sql << "BEGIN";
            work(sql);
            sql << "COMMIT";
        } catch (const soci::soci_error& error) {
            undo(sql, "ROLLBACK");
            throw translated(error);
        } catch (...) {
            undo(sql, "ROLLBACK");
            throw;
        }
    }

private:
    void open(soci::session& sql) const {
        sql.open(soci::sqlite3, "db=\"" + m_settings.location + "\"");
        sql << "PRAGMA busy_timeout = " << m_settings.patience.count();
        std::string mode;
        sql << "PRAGMA journal_mode = WAL", soci::into(mode);
        if (mode != "wal") {
            throw StoreError(Case::unavailable, "the database file's disk cannot keep a log of it");
        }
        sql << "PRAGMA synchronous = FULL";
        sql << "PRAGMA foreign_keys = ON";
        // What was deleted must not be found in the file by whoever gets hold of it later.
        sql << "PRAGMA secure_delete = ON";
        sql << "PRAGMA trusted_schema = OFF";
        // In KiB, for each connection: the system keeps the file in memory already, and eight
        // copies of the same pages would only make the service grow for its first hours.
        sql << "PRAGMA cache_size = -256";
    }

    // An open file lives on after its name has gone, and would swallow every write.
    void requireSameFile() const {
        if (identityOf(m_settings.location) != m_identity) {
            throw StoreError(Case::unavailable, "the database file was moved or deleted");
        }
    }

    static void undo(soci::session& sql, const char* statement) noexcept {
        try {
            sql << statement;
        } catch (...) {
            // Some failures end the whole transaction by themselves; nothing is left to undo.
            return;
        }
    }

    // Each job undoes its own changes where it throws, and leaves those of the others alone.
    void runJob(GroupedWriter::Job& job) {
        m_writer << "SAVEPOINT job";
        try {
            (*job.work)(m_writer);
        } catch (const soci::soci_error& error) {
            job.failure = std::make_exception_ptr(translated(error));
        } catch (...) {
            job.failure = std::current_exception();
        }
        if (job.failure) {
            m_writer << "ROLLBACK TO job";
        }
        m_writer << "RELEASE job";
    }

    void commitOrThrow(const std::vector<GroupedWriter::Job*>& group) {
        requireSameFile();
        m_writer << "BEGIN IMMEDIATE";
        try {
            for (GroupedWriter::Job* job : group) {
                runJob(*job);
            }
            m_writer << "COMMIT";
        } catch (...) {
            undo(m_writer, "ROLLBACK");
            throw;
        }
    }

    // A job that was refused may have been so for a change of another that came to nothing, so a
    // failed commit fails them all.
    void commit(const std::vector<GroupedWriter::Job*>& group) noexcept {
        std::exception_ptr failure;
        try {
            commitOrThrow(group);
            return;
        } catch (const soci::soci_error& error) {
            failure = std::make_exception_ptr(translated(error));
        } catch (...) {
            failure = std::current_exception();
        }
        for (GroupedWriter::Job* job : group) {
            job->failure = failure;
        }
    }

    const DatabaseSettings m_settings;
    soci::session m_writer;
    soci::connection_pool m_readers;
    GroupedWriter m_writes;
    std::optional<FileIdentity> m_identity;
};

} // namespace

std::unique_ptr<StoreEngine> openSqlite(const DatabaseSettings& settings) {
    return std::make_unique<SqliteEngine>(settings);
}

} // namespace lumivane::service
