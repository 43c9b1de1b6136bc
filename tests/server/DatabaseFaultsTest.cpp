#include "server/PostgresServer.h"
#include "server/StoreFixture.h"
#include "support/WaitForCondition.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <thread>

namespace lumivane::service::test {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using lumivane::test::waitForCondition;
using Case = StoreError::Case;

namespace {

DatabaseSettings fileIn(const TemporaryFolder& folder) {
    DatabaseSettings settings;
    settings.location = (folder.path() / "data" / "accounts.sqlite").string();
    settings.connections = 2;
    settings.patience = 100ms;
    return settings;
}

DatabaseSettings serverDatabase() {
    DatabaseSettings settings;
    settings.location = PostgresServer::shared().makeDatabase();
    settings.connections = 2;
    settings.patience = 300ms;
    return settings;
}

template <typename Work>
std::string caseOf(Work work) {
    try {
        work();
    } catch (const StoreError& error) {
        switch (error.errorCase()) {
        case Case::unavailable:
            return "unavailable";
        case Case::busy:
            return "busy";
        case Case::incompatible:
            return "incompatible";
        case Case::conflict:
            return "conflict";
        }
    }
    return "none";
}

void addRow(Database& database) {
    database.transact([](soci::session& sql) {
        sql << "INSERT INTO service_secrets (name, value) "
               "SELECT 'row ' || COUNT(*), 'value' FROM service_secrets";
    });
}

long long rows(Database& database) {
    return database.read([](soci::session& sql) {
        long long count = 0;
        sql << "SELECT COUNT(*) FROM service_secrets", soci::into(count);
        return count;
    });
}

unsigned modeOf(const fs::path& path) {
    struct stat facts {};

    EXPECT_EQ(::stat(path.c_str(), &facts), 0) << path;
    return facts.st_mode & 0777U;
}

// For as long as it lives no file grows past `bytes`, as on a disk that is full.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, SIG_DFL);
    }

    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
};

// A program that holds the write lock of a file from a thread of its own until it is let go.
class Holder {
public:
    explicit Holder(Database& database)
        : m_thread([this, &database] {
            database.transact([this](soci::session& sql) {
                sql << "INSERT INTO service_secrets (name, value) VALUES ('holder', 'x')";
                m_holds = true;
                waitForCondition([this] { return m_mayEnd.load(); });
            });
        }) {
        waitForCondition([this] { return m_holds.load(); });
    }

    ~Holder() { m_mayEnd = true; }

    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

private:
    std::atomic<bool> m_holds = false;
    std::atomic<bool> m_mayEnd = false;
    std::jthread m_thread;
};

} // namespace

TEST(SqliteDatabase, FileAndFolderAreForTheOwnerOnly) {
    TemporaryFolder folder;
    const auto settings = fileIn(folder);
    const mode_t before = ::umask(0);
    const auto database = Database::open(settings);
    addRow(*database);
    ::umask(before);

    EXPECT_EQ(modeOf(fs::path(settings.location).parent_path()), 0700U);
    EXPECT_EQ(modeOf(settings.location), 0600U);
    EXPECT_EQ(modeOf(settings.location + "-wal"), 0600U);
    EXPECT_EQ(modeOf(settings.location + "-shm"), 0600U);
}

TEST(SqliteDatabase, AFileThatOthersCouldReadIsClosedToThem) {
    TemporaryFolder folder;
    const auto settings = fileIn(folder);
    Database::open(settings).reset();
    fs::permissions(settings.location, fs::perms::all);

    const auto database = Database::open(settings);

    EXPECT_EQ(modeOf(settings.location), 0600U);
}

TEST(SqliteDatabase, EveryCommitIsFlushedAndForeignKeysHold) {
    TemporaryFolder folder;
    const auto database = Database::open(fileIn(folder));
    const auto pragma = [&](const std::string& name) {
        return database->transact([&](soci::session& sql) {
            std::string value;
            sql << "PRAGMA " << name, soci::into(value);
            return value;
        });
    };

    EXPECT_EQ(pragma("journal_mode"), "wal");
    EXPECT_EQ(pragma("synchronous"), "2");
    EXPECT_EQ(pragma("foreign_keys"), "1");
    EXPECT_EQ(pragma("secure_delete"), "1");
}

TEST(SqliteDatabase, AFileThatIsNoDatabaseIsRefusedAndLeftAlone) {
    TemporaryFolder folder;
    const auto settings = fileIn(folder);
    fs::create_directories(fs::path(settings.location).parent_path());
    const std::string text(4096, 'x');
    std::ofstream(settings.location) << text;

    EXPECT_EQ(caseOf([&] { Database::open(settings); }), "incompatible");
    std::ifstream file(settings.location);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), text);
}

TEST(SqliteDatabase, APlaceThatCannotBeAFileIsUnavailable) {
    TemporaryFolder folder;
    auto settings = fileIn(folder);
    std::ofstream(folder.path() / "data") << "a file where the folder should be";
    EXPECT_EQ(caseOf([&] { Database::open(settings); }), "unavailable");

    settings.location = folder.path().string();
    EXPECT_EQ(caseOf([&] { Database::open(settings); }), "unavailable");
    settings.location = (folder.path() / std::string(300, 'x')).string();
    EXPECT_EQ(caseOf([&] { Database::open(settings); }), "unavailable");
    settings.location = (folder.path() / "quote\" readonly=1").string();
    EXPECT_EQ(caseOf([&] { Database::open(settings); }), "unavailable");
}

TEST(SqliteDatabase, APathMayHoldBlanksAndEqualsSigns) {
    TemporaryFolder folder;
    auto settings = fileIn(folder);
    settings.location = (folder.path() / "my data=1 readonly=1" / "accounts 'x'.sqlite").string();

    const auto database = Database::open(settings);
    addRow(*database);

    EXPECT_TRUE(fs::exists(settings.location));
}

TEST(SqliteDatabase, AFileHeldByAnotherProgramIsBusyForWritersAndReadable) {
    TemporaryFolder folder;
    const auto settings = fileIn(folder);
    const auto mine = Database::open(settings);
    const auto other = Database::open(settings);
    {
        Holder holder(*other);
        EXPECT_EQ(caseOf([&] { addRow(*mine); }), "busy");
        EXPECT_EQ(rows(*mine), 0);
    }

    addRow(*mine);
    EXPECT_EQ(rows(*mine), 2);
}

TEST(SqliteDatabase, AFileThatWasDeletedTakesNoWritesThatWouldBeLost) {
    TemporaryFolder folder;
    const auto settings = fileIn(folder);
    const auto database = Database::open(settings);
    addRow(*database);
    const std::string moved = settings.location + ".moved";
    fs::rename(settings.location, moved);

    EXPECT_EQ(caseOf([&] { addRow(*database); }), "unavailable");
    EXPECT_EQ(caseOf([&] { rows(*database); }), "unavailable");
    std::ofstream(settings.location) << "another file of that name";
    EXPECT_EQ(caseOf([&] { addRow(*database); }), "unavailable");

    fs::remove(settings.location);
    fs::rename(moved, settings.location);
    addRow(*database);
    EXPECT_EQ(rows(*database), 2);
}

TEST(SqliteDatabase, AFullDiskLosesNothingThatWasKept) {
    TemporaryFolder folder;
    const auto settings = fileIn(folder);
    const auto database = Database::open(settings);
    addRow(*database);
    {
        FileSizeLimit limit(fs::file_size(settings.location + "-wal"));
        EXPECT_EQ(caseOf([&] { addRow(*database); }), "unavailable");
        EXPECT_EQ(rows(*database), 1);
    }

    addRow(*database);
    EXPECT_EQ(rows(*database), 2);
    EXPECT_EQ(rows(*Database::open(settings)), 2);
}

TEST(SqliteDatabase, WritersShareCommitsAndFailAlone) {
    TemporaryFolder folder;
    auto settings = fileIn(folder);
    settings.patience = 10s;
    const auto database = Database::open(settings);
    std::atomic<int> refused = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 16; ++i) {
            threads.emplace_back([&, i] {
                try {
                    database->transact([i](soci::session& sql) {
                        const std::string name = "row" + std::to_string(i);
                        sql << "INSERT INTO service_secrets (name, value) VALUES (:n, 'x')",
                            soci::use(name);
                        if (i % 4 == 0) {
                            throw std::out_of_range("every fourth");
                        }
                    });
                } catch (const std::out_of_range&) {
                    ++refused;
                }
            });
        }
    }

    EXPECT_EQ(refused, 4);
    EXPECT_EQ(rows(*database), 12);
}

TEST(PostgresDatabase, AServerThatIsNotThereIsUnavailable) {
    TemporaryFolder folder;
    DatabaseSettings settings;
    settings.location = "postgresql:///accounts?host=" + folder.path().string();

    EXPECT_EQ(caseOf([&] { Database::open(settings); }), "unavailable");
}

TEST(PostgresDatabase, AServerThatWentAwayIsUnavailableUntilItIsBack) {
    PostgresServer server;
    DatabaseSettings settings;
    settings.location = server.makeDatabase();
    settings.connections = 2;
    const auto database = Database::open(settings);
    addRow(*database);

    server.stop();
    EXPECT_EQ(caseOf([&] { addRow(*database); }), "unavailable");
    EXPECT_EQ(caseOf([&] { rows(*database); }), "unavailable");

    server.start();
    addRow(*database);
    EXPECT_EQ(rows(*database), 2);
}

TEST(PostgresDatabase, ARestartBetweenTwoCallsIsNotNoticed) {
    PostgresServer server;
    DatabaseSettings settings;
    settings.location = server.makeDatabase();
    const auto database = Database::open(settings);
    addRow(*database);

    server.stop();
    server.start();

    EXPECT_EQ(caseOf([&] { addRow(*database); }), "none");
    EXPECT_EQ(rows(*database), 2);
}

TEST(PostgresDatabase, AConnectionThatBreaksInTheMiddleIsTriedOnceMoreOnly) {
    const auto database = Database::open(serverDatabase());
    int runs = 0;
    const auto breakConnection = [&](soci::session& sql) {
        ++runs;
        sql << "SELECT pg_terminate_backend(pg_backend_pid())";
    };

    EXPECT_EQ(caseOf([&] { database->transact(breakConnection); }), "unavailable");
    EXPECT_EQ(runs, 2);
    addRow(*database);
    EXPECT_EQ(rows(*database), 1);
}

TEST(PostgresDatabase, WhatKeepsMeetingOthersEndsAsBusy) {
    const auto database = Database::open(serverDatabase());
    int runs = 0;
    const auto meet = [&](soci::session& sql) {
        ++runs;
        sql << "DO $$ BEGIN RAISE EXCEPTION USING ERRCODE = '40001'; END $$";
    };

    EXPECT_EQ(caseOf([&] { database->transact(meet); }), "busy");
    EXPECT_EQ(runs, 16);
}

TEST(PostgresDatabase, WhatMeetsAnotherIsDoneAgain) {
    const auto database = Database::open(serverDatabase());
    int runs = 0;
    database->transact([&](soci::session& sql) {
        sql << "INSERT INTO service_secrets (name, value) VALUES ('a', 'b')";
        if (++runs < 3) {
            sql << "DO $$ BEGIN RAISE EXCEPTION USING ERRCODE = '40P01'; END $$";
        }
    });

    EXPECT_EQ(runs, 3);
    EXPECT_EQ(rows(*database), 1);
}

TEST(PostgresDatabase, AStatementThatTakesTooLongIsBusy) {
    const auto database = Database::open(serverDatabase());
    const auto linger = [](soci::session& sql) { sql << "SELECT pg_sleep(60)"; };

    EXPECT_EQ(caseOf([&] { database->transact(linger); }), "busy");
    EXPECT_EQ(caseOf([&] { database->read(linger); }), "busy");
}

TEST(PostgresDatabase, AFailedStatementThatTheWorkPassedOverIsNoSuccess) {
    const auto database = Database::open(serverDatabase());
    const auto passOver = [](soci::session& sql) {
        sql << "INSERT INTO service_secrets (name, value) VALUES ('a', 'b')";
        try {
            sql << "SELECT nothing FROM nowhere";
        } catch (const soci::soci_error&) {
            return;
        }
    };

    EXPECT_EQ(caseOf([&] { database->transact(passOver); }), "unavailable");
    EXPECT_EQ(rows(*database), 0);
}

TEST(PostgresDatabase, WhoFindsNoFreeConnectionInTimeIsBusy) {
    auto settings = serverDatabase();
    settings.connections = 1;
    const auto database = Database::open(settings);
    Holder holder(*database);

    EXPECT_EQ(caseOf([&] { rows(*database); }), "busy");
}

TEST(PostgresDatabase, AUrlKeepsItsOwnParameters) {
    auto settings = serverDatabase();
    settings.location += "&connect_timeout=2&application_name=lumivane";
    const auto database = Database::open(settings);

    const std::string name = database->read([](soci::session& sql) {
        std::string value;
        sql << "SHOW application_name", soci::into(value);
        return value;
    });
    EXPECT_EQ(name, "lumivane");
    EXPECT_TRUE(namesServer("postgres://host/x"));
    EXPECT_FALSE(namesServer("/home/postgresql://x"));
}

} // namespace lumivane::service::test
