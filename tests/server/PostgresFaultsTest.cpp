#include "server/PostgresServer.h"
#include "server/StoreFaults.h"
#include "server/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace lumivane::service::test {

using namespace std::chrono_literals;

namespace {

class PostgresDatabase : public ::testing::Test {
protected:
    // With more patience than any statement here needs, except where the lack of it is meant.
    DatabaseSettings settings() const {
        return {.location = m_lent.url(), .connections = 2, .patience = 20s};
    }

private:
    LentDatabase m_lent{PostgresServer::shared()};
};

} // namespace

TEST(PostgresOutage, AServerThatIsNotThereIsUnavailable) {
    TemporaryFolder folder;
    DatabaseSettings mine;
    mine.location = "postgresql:///accounts?host=" + folder.path().string();

    EXPECT_EQ(caseOf([&] { Database::open(mine); }), "unavailable");
}

TEST(PostgresOutage, AServerThatWentAwayIsUnavailableUntilItIsBack) {
    PostgresServer server;
    DatabaseSettings mine;
    mine.location = server.makeDatabase();
    mine.connections = 2;
    const auto database = Database::open(mine);
    addRow(*database);

    server.stop();
    EXPECT_EQ(caseOf([&] { addRow(*database); }), "unavailable");
    EXPECT_EQ(caseOf([&] { rows(*database); }), "unavailable");

    server.start();
    addRow(*database);
    EXPECT_EQ(rows(*database), 2);
}

TEST(PostgresOutage, ARestartBetweenTwoCallsIsNotNoticed) {
    PostgresServer server;
    DatabaseSettings mine;
    mine.location = server.makeDatabase();
    const auto database = Database::open(mine);
    addRow(*database);

    server.stop();
    server.start();

    EXPECT_EQ(caseOf([&] { addRow(*database); }), "none");
    EXPECT_EQ(rows(*database), 2);
}

TEST_F(PostgresDatabase, AConnectionThatBreaksInTheMiddleIsTriedOnceMoreOnly) {
    const auto database = Database::open(settings());
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

TEST_F(PostgresDatabase, WhatKeepsMeetingOthersEndsAsBusy) {
    const auto database = Database::open(settings());
    int runs = 0;
    const auto meet = [&](soci::session& sql) {
        ++runs;
        sql << "DO $$ BEGIN RAISE EXCEPTION USING ERRCODE = '40001'; END $$";
    };

    EXPECT_EQ(caseOf([&] { database->transact(meet); }), "busy");
    EXPECT_EQ(runs, 16);
}

TEST_F(PostgresDatabase, WhatMeetsAnotherIsDoneAgain) {
    const auto database = Database::open(settings());
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

TEST_F(PostgresDatabase, WhatFailedLeavesNothingBehindInTheServer) {
    auto mine = settings();
    mine.connections = 1;
    const auto database = Database::open(mine);
    const auto prepareAndMeet = [](soci::session& sql) {
        soci::statement kept = (sql.prepare << "DELETE FROM service_secrets");
        kept.execute(true);
        sql << "DO $$ BEGIN RAISE EXCEPTION USING ERRCODE = '40001'; END $$";
    };
    EXPECT_EQ(caseOf([&] { database->transact(prepareAndMeet); }), "busy");

    const long long left = database->read([](soci::session& sql) {
        long long count = -1;
        sql << "SELECT COUNT(*) FROM pg_prepared_statements", soci::into(count);
        return count;
    });
    EXPECT_EQ(left, 0);
}

TEST_F(PostgresDatabase, AStatementThatTakesTooLongIsBusy) {
    auto mine = settings();
    mine.patience = 300ms;
    const auto database = Database::open(mine);
    const auto linger = [](soci::session& sql) { sql << "SELECT pg_sleep(60)"; };

    EXPECT_EQ(caseOf([&] { database->transact(linger); }), "busy");
    EXPECT_EQ(caseOf([&] { database->read(linger); }), "busy");
}

TEST_F(PostgresDatabase, AFailedStatementThatTheWorkPassedOverIsNoSuccess) {
    const auto database = Database::open(settings());
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

TEST_F(PostgresDatabase, WhoFindsNoFreeConnectionInTimeIsBusy) {
    auto mine = settings();
    mine.connections = 1;
    mine.patience = 300ms;
    const auto database = Database::open(mine);
    Holder holder(*database);

    EXPECT_EQ(caseOf([&] { rows(*database); }), "busy");
}

TEST_F(PostgresDatabase, AUrlKeepsItsOwnParameters) {
    auto mine = settings();
    mine.location += "&connect_timeout=2&application_name=lumivane";
    const auto database = Database::open(mine);

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
