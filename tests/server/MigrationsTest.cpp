#include "server/store/Migrations.h"

#include "server/StoreFixture.h"
#include "server/store/PostgresEngine.h"
#include "server/store/SqliteEngine.h"

#include <atomic>
#include <thread>

namespace lumivane::service::test {

namespace {

using Case = StoreError::Case;

// A database that is still at the first version, with somebody signed in.
class MigrationsTest : public StoreTest {
protected:
    MigrationsTest() {
        for (const char* table :
             {"handle_filters", "reauth_proofs", "takeover_tickets", "login_transactions",
              "access_tokens", "refresh_tokens", "sessions", "devices", "identities", "accounts",
              "service_secrets", "schema_migrations"}) {
            store().execute(std::string("DROP TABLE ") + table);
        }
        apply({migrations().front()});
        store().execute("INSERT INTO accounts VALUES ('ada', 'Ada L.', 'ada', 'ada', NULL, 1)");
        store().execute("INSERT INTO sessions VALUES ('s', 'ada', NULL, 1, NULL, NULL)");
        store().execute("INSERT INTO refresh_tokens (hash, session_id, expires_at) "
                        "VALUES ('token', 's', 7)");
    }

    void apply(const std::vector<Migration>& steps) {
        const auto engine = namesServer(store().settings().location)
                                ? openPostgres(store().settings())
                                : openSqlite(store().settings());
        engine->migrate([&steps](soci::session& sql) { applyMigrations(sql, steps, 1); });
    }

    std::optional<Case> failureOf(const std::vector<Migration>& steps) {
        try {
            apply(steps);
        } catch (const StoreError& error) {
            return error.errorCase();
        }
        return std::nullopt;
    }

    long long version() { return store().number("SELECT MAX(version) FROM schema_migrations"); }

    long long count(const std::string& table) {
        return store().number("SELECT COUNT(*) FROM " + table);
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, MigrationsTest, everyEngine(), engineName);

constexpr const char* makeTable = "CREATE TABLE notes (word TEXT PRIMARY KEY)";
constexpr const char* addWord = "INSERT INTO notes (word) VALUES ('once')";

std::vector<Migration> withSecond(std::vector<const char*> statements) {
    return {migrations().front(), {2, std::move(statements)}};
}

} // namespace

TEST_P(MigrationsTest, EveryStepTakesTheRowsOfTheFirstVersionAlong) {
    ASSERT_EQ(version(), 1);

    const auto opened = store().openAnother();

    EXPECT_EQ(version(), migrations().back().version);
    EXPECT_EQ(count("accounts"), 1);
    EXPECT_EQ(store().number("SELECT expires_at FROM refresh_tokens WHERE hash = 'token'"), 7);
    EXPECT_EQ(store().number("SELECT line FROM refresh_tokens WHERE superseded_at IS NULL"), 0);
}

TEST_P(MigrationsTest, VersionsGoUpFromStepToStep) {
    std::int64_t last = 0;
    for (const Migration& step : migrations()) {
        EXPECT_GT(step.version, last);
        last = step.version;
    }
}

TEST_P(MigrationsTest, ALaterStepIsTakenOnceAndAlone) {
    apply(withSecond({makeTable, addWord}));
    apply(withSecond({makeTable, addWord}));

    EXPECT_EQ(version(), 2);
    EXPECT_EQ(count("notes"), 1);
    EXPECT_EQ(count("schema_migrations"), 2);
    EXPECT_EQ(count("accounts"), 1);
}

TEST_P(MigrationsTest, OfAStepThatFailsNothingIsLeft) {
    EXPECT_TRUE(failureOf(withSecond({makeTable, "INSERT INTO no_such_table VALUES (1)"})));

    EXPECT_EQ(version(), 1);
    EXPECT_EQ(count("accounts"), 1);
    // A trace of the failed step would be in its way.
    EXPECT_EQ(failureOf(withSecond({makeTable, addWord})), std::nullopt);
    EXPECT_EQ(count("notes"), 1);
}

TEST_P(MigrationsTest, OfTwoStepsTheFirstDoesNotLastWithoutTheSecond) {
    auto steps = withSecond({makeTable, addWord});
    steps.push_back({3, {"INSERT INTO no_such_table VALUES (1)"}});
    EXPECT_TRUE(failureOf(steps));

    EXPECT_EQ(version(), 1);
    steps.back().statements = {"INSERT INTO notes (word) VALUES ('twice')"};
    EXPECT_EQ(failureOf(steps), std::nullopt);
    EXPECT_EQ(version(), 3);
    EXPECT_EQ(count("notes"), 2);
}

TEST_P(MigrationsTest, ReplicasThatTakeAStepAtOnceTakeItOnce) {
    std::atomic<int> done = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                done += failureOf(withSecond({makeTable, addWord})) ? 0 : 1;
            });
        }
    }

    EXPECT_EQ(done, 4);
    EXPECT_EQ(version(), 2);
    EXPECT_EQ(count("notes"), 1);
}

TEST_P(MigrationsTest, AnOlderServiceLeavesANewerDatabaseAlone) {
    apply(withSecond({makeTable, addWord}));

    EXPECT_EQ(failureOf({migrations().front()}), Case::incompatible);
    EXPECT_EQ(count("notes"), 1);
}

} // namespace lumivane::service::test
