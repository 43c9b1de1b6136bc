#include "server/StoreFixture.h"
#include "server/store/Migrations.h"
#include "server/work/WorkPool.h"

#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <gmock/gmock.h>

#include <atomic>
#include <thread>
#include <vector>

namespace lumivane::service::test {
namespace {

using Case = StoreError::Case;

class DatabaseTest : public StoreTest {
protected:
    void addSecret(const std::string& name, const std::string& value = "value") {
        database().transact([&](soci::session& sql) {
            sql << "INSERT INTO service_secrets (name, value) VALUES (:name, :value)",
                soci::use(name), soci::use(value);
        });
    }

    long long secrets() { return store().number("SELECT COUNT(*) FROM service_secrets"); }
};

INSTANTIATE_TEST_SUITE_P(Engines, DatabaseTest, everyEngine(), engineName);

template <typename Work>
Case caseOf(Work work) {
    try {
        work();
    } catch (const StoreError& error) {
        return error.errorCase();
    }
    ADD_FAILURE() << "nothing was thrown";
    return Case::unavailable;
}

TEST_P(DatabaseTest, GivesWhatTheWorkReturnedAndKeepsWhatItChanged) {
    addSecret("a");

    EXPECT_EQ(database().transact([](soci::session&) { return std::string("answer"); }), "answer");
    EXPECT_EQ(secrets(), 1);
}

TEST_P(DatabaseTest, AnExceptionOfTheWorkUndoesItAndPassesOn) {
    EXPECT_THROW(database().transact([](soci::session& sql) {
        sql << "INSERT INTO service_secrets (name, value) VALUES ('a', 'b')";
        throw std::out_of_range("refused");
    }),
                 std::out_of_range);

    EXPECT_EQ(secrets(), 0);
    addSecret("later");
    EXPECT_EQ(secrets(), 1);
}

TEST_P(DatabaseTest, ADoubledKeyIsAConflictAndLeavesTheDatabaseUsable) {
    addSecret("a");

    EXPECT_EQ(caseOf([&] { addSecret("a"); }), Case::conflict);
    EXPECT_EQ(caseOf([&] {
                  store().execute("INSERT INTO sessions (id, account_id, created_at) "
                                  "VALUES ('s', 'nobody', 1)");
              }),
              Case::conflict);
    addSecret("b");
    EXPECT_EQ(secrets(), 2);
}

TEST_P(DatabaseTest, ReadingCannotChangeAnything) {
    EXPECT_THROW(database().read([](soci::session& sql) {
        sql << "INSERT INTO service_secrets (name, value) VALUES ('a', 'b')";
    }),
                 StoreError);
    EXPECT_EQ(secrets(), 0);
}

TEST_P(DatabaseTest, TextsComeBackByteForByte) {
    const std::string text = "'; DROP TABLE accounts; -- <b>\"%_\\ \xF0\x9F\x98\x80 \xCC\x81";
    addSecret("a", text);

    const std::string back = database().read([](soci::session& sql) {
        std::string value;
        sql << "SELECT value FROM service_secrets WHERE name = 'a'", soci::into(value);
        return value;
    });
    EXPECT_EQ(back, text);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 0);
}

TEST_P(DatabaseTest, NoErrorRepeatsAValueOrAStatement) {
    addSecret("canary");
    try {
        addSecret("canary");
        FAIL();
    } catch (const StoreError& error) {
        EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr("canary")));
        EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr("INSERT")));
    }
}

TEST_P(DatabaseTest, ConcurrentIncrementsAreNeitherLostNorDoubled) {
    addSecret("counter", "0");
    const auto another = store().openAnother();
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 6; ++thread) {
        threads.emplace_back([&, thread] {
            Database& mine = thread % 2 == 0 ? database() : *another;
            for (int count = 0; count < 10; ++count) {
                mine.transact([](soci::session& sql) {
                    std::string value;
                    sql << "SELECT value FROM service_secrets WHERE name = 'counter'",
                        soci::into(value);
                    value = std::to_string(std::stoi(value) + 1);
                    sql << "UPDATE service_secrets SET value = :value WHERE name = 'counter'",
                        soci::use(value);
                });
            }
        });
    }
    threads.clear();

    EXPECT_EQ(store().number("SELECT CAST(value AS BIGINT) FROM service_secrets"), 60);
}

TEST_P(DatabaseTest, WritesThatOnlyTogetherBreakARuleDoNotBothPass) {
    const auto another = store().openAnother();
    std::atomic<int> added = 0;
    const auto addIfNobodyDid = [&](Database& mine, const std::string& name) {
        mine.transact([&](soci::session& sql) {
            long long count = 0;
            sql << "SELECT COUNT(*) FROM service_secrets", soci::into(count);
            if (count == 0) {
                sql << "INSERT INTO service_secrets (name, value) VALUES (:name, 'x')",
                    soci::use(name);
            }
            return count == 0;
        })
            ? ++added
            : added.load();
    };
    for (int round = 0; round < 20; ++round) {
        added = 0;
        store().execute("DELETE FROM service_secrets");
        std::jthread first([&] { addIfNobodyDid(database(), "a"); });
        std::jthread second([&] { addIfNobodyDid(*another, "b"); });
        first.join();
        second.join();
        ASSERT_EQ(added, 1);
        ASSERT_EQ(secrets(), 1);
    }
}

TEST_P(DatabaseTest, OpeningAgainKeepsWhatIsThereAndTakesNoStepTwice) {
    addSecret("a");
    const auto again = store().openAnother();

    EXPECT_EQ(secrets(), 1);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM schema_migrations"),
              static_cast<long long>(migrations().size()));
}

TEST_P(DatabaseTest, AFailureIsToldAndAConflictIsNone) {
    std::vector<Case> told;
    const auto watched = Database::open(store().settings(), [&told](const StoreError& error) {
        told.push_back(error.errorCase());
    });
    const auto add = [](soci::session& sql) {
        sql << "INSERT INTO service_secrets VALUES ('name', 'value')";
    };
    watched->transact(add);
    EXPECT_EQ(caseOf([&] { watched->transact(add); }), Case::conflict);
    EXPECT_TRUE(told.empty());

    store().breakDown();
    const auto failure = caseOf([&] { watched->transact(add); });
    EXPECT_EQ(failure, Case::unavailable);
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back(), failure);
}

TEST_P(DatabaseTest, ADatabaseOfANewerVersionIsRefused) {
    store().execute("INSERT INTO schema_migrations (version, applied_at) VALUES (9999, 1)");

    EXPECT_EQ(caseOf([&] { store().openAnother(); }), Case::incompatible);
}

TEST_P(DatabaseTest, ReplicasThatStartAtOnceMakeOneSchema) {
    for (const auto& table :
         {"handle_filters", "reauth_proofs", "takeover_tickets", "login_transactions",
          "access_tokens", "refresh_tokens", "sessions", "devices", "identities", "accounts",
          "service_secrets", "schema_migrations"}) {
        store().execute(std::string("DROP TABLE ") + table);
    }
    std::vector<std::jthread> threads;
    std::atomic<int> opened = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            store().openAnother();
            ++opened;
        });
    }
    threads.clear();

    EXPECT_EQ(opened, 4);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM schema_migrations"),
              static_cast<long long>(migrations().size()));
}

TEST_P(DatabaseTest, AnAccountHasOneOpenSessionAtMost) {
    store().execute("INSERT INTO accounts VALUES ('a', 'Name', 'h', 'h', NULL, 1)");
    const std::string open = "INSERT INTO sessions (id, account_id, created_at) VALUES ";
    store().execute(open + "('one', 'a', 1)");

    EXPECT_EQ(caseOf([&] { store().execute(open + "('two', 'a', 1)"); }), Case::conflict);
    store().execute("UPDATE sessions SET ended_at = 2");
    store().execute(open + "('two', 'a', 1)");
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM sessions"), 2);
}

TEST_P(DatabaseTest, AnAccountTakesEveryRowOfItAlong) {
    store().execute("INSERT INTO accounts VALUES ('a', 'Name', 'h', 'h', NULL, 1)");
    store().execute("INSERT INTO identities VALUES ('github', '1', 'a', NULL, NULL, 0, 1)");
    store().execute("INSERT INTO devices VALUES ('a', 'd', 'n', 'laptop', 'o', 1, 1)");
    store().execute("INSERT INTO sessions VALUES ('s', 'a', NULL, 1, NULL, NULL)");
    store().execute("INSERT INTO access_tokens VALUES ('x', 's', 1)");
    store().execute("INSERT INTO refresh_tokens (hash, session_id, expires_at) "
                    "VALUES ('r', 's', 1)");
    store().execute("INSERT INTO takeover_tickets (hash, account_id, expires_at) "
                    "VALUES ('t', 'a', 1)");
    store().execute("INSERT INTO reauth_proofs VALUES ('p', 'a', 's', 1)");
    store().execute("INSERT INTO login_transactions (id, provider, intent, code_challenge, "
                    "session_id, account_id, state_hash, created_at, expires_at) "
                    "VALUES ('l', 'github', 'link', 'c', 's', 'a', 'h', 1, 1)");

    store().execute("DELETE FROM accounts");

    for (const auto& table :
         {"identities", "devices", "sessions", "access_tokens", "refresh_tokens",
          "takeover_tickets", "reauth_proofs", "login_transactions"}) {
        EXPECT_EQ(store().number(std::string("SELECT COUNT(*) FROM ") + table), 0) << table;
    }
}

boost::asio::awaitable<void> tryTwice(boost::asio::thread_pool& pool, std::function<void()> work,
                                      std::string& seen) {
    for (int i = 0; i < 2; ++i) {
        try {
            auto running = runOnWorkPool(pool, work);
            co_await std::move(running);
            seen += "added ";
        } catch (const StoreError& error) {
            seen += error.errorCase() == Case::conflict ? "conflict" : "other";
        }
    }
}

TEST_P(DatabaseTest, AWorkPoolCarriesWhatTheDatabaseThrew) {
    boost::asio::thread_pool pool(1);
    boost::asio::io_context context;
    std::string seen;
    boost::asio::co_spawn(context,
                          tryTwice(
                              pool, [this] { addSecret("a"); }, seen),
                          boost::asio::detached);
    context.run();

    EXPECT_EQ(seen, "added conflict");
}

} // namespace
} // namespace lumivane::service::test
