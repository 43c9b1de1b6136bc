#include "server/StoreFaults.h"
#include "server/TemporaryFolder.h"
#include "support/FileSizeLimit.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <thread>
#include <vector>

namespace lumivane::service::test {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using lumivane::test::FileSizeLimit;

namespace {

DatabaseSettings fileIn(const TemporaryFolder& folder) {
    DatabaseSettings settings;
    settings.location = (folder.path() / "data" / "accounts.sqlite").string();
    settings.connections = 2;
    settings.patience = 100ms;
    return settings;
}

unsigned modeOf(const fs::path& path) {
    struct stat facts {};

    EXPECT_EQ(::stat(path.c_str(), &facts), 0) << path;
    return facts.st_mode & 0777U;
}

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

TEST(SqliteDatabase, ReplicasThatMakeOneFileAtOnceAllOpenIt) {
    for (int round = 0; round < 5; ++round) {
        TemporaryFolder folder;
        auto settings = fileIn(folder);
        settings.patience = 10s;
        std::atomic<int> opened = 0;
        {
            std::vector<std::jthread> threads;
            for (int i = 0; i < 6; ++i) {
                threads.emplace_back([&] {
                    addRow(*Database::open(settings));
                    ++opened;
                });
            }
        }
        ASSERT_EQ(opened, 6);
        ASSERT_EQ(rows(*Database::open(settings)), 6);
    }
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

} // namespace lumivane::service::test
