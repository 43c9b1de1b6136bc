#include "server/accounts/ExpiredRows.h"

#include "server/AccountFixture.h"
#include "support/WaitForCondition.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>

#include <memory>
#include <thread>

namespace lumivane::service::test {

using namespace std::chrono_literals;
using lumivane::test::waitForCondition;

namespace {

class ExpiredRowsTest : public AccountTest {
protected:
    void clean() { deleteExpiredRows(database(), clock().now()); }

    long long rows(const std::string& table) {
        return store().number("SELECT COUNT(*) FROM " + table);
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, ExpiredRowsTest, everyEngine(), engineName);

} // namespace

TEST_P(ExpiredRowsTest, NothingThatCanStillBeUsedGoes) {
    const IssuedLogin first = login();
    ticketFor(desktop);
    const IssuedLogin second = refresh(first.tokens.refreshToken);
    clean();

    EXPECT_EQ(rows("access_tokens"), 2);
    EXPECT_EQ(rows("refresh_tokens"), 2);
    EXPECT_EQ(rows("takeover_tickets"), 1);
    EXPECT_EQ(refusalOf([&] { refresh(first.tokens.refreshToken); }), "");
    EXPECT_EQ(refusalOf([&] { refresh(second.tokens.refreshToken); }), "");
}

TEST_P(ExpiredRowsTest, RowsGoADayAfterTheirEnd) {
    const IssuedLogin made = login();
    ticketFor(desktop);
    clock().set(made.tokens.accessExpiresAt + std::chrono::days(1) - 1ms);
    clean();
    EXPECT_EQ(rows("access_tokens"), 1);

    clock().advance(1ms);
    clean();
    EXPECT_EQ(rows("access_tokens"), 0);
    EXPECT_EQ(rows("takeover_tickets"), 0);
    EXPECT_EQ(rows("refresh_tokens"), 1);
    EXPECT_EQ(rows("sessions"), 1);
}

TEST_P(ExpiredRowsTest, ASessionGoesWithItsLastTokenAndTheMachineStays) {
    const IssuedLogin made = login();
    clock().set(made.tokens.refreshExpiresAt + std::chrono::days(1));
    clean();

    EXPECT_EQ(rows("refresh_tokens"), 0);
    EXPECT_EQ(rows("sessions"), 0);
    EXPECT_EQ(rows("devices"), 1);
    EXPECT_EQ(rows("accounts"), 1);
    login(desktop);
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(ExpiredRowsTest, AnEvictedMachineIsToldSoForAsLongAsItsTokenIsKept) {
    const IssuedLogin first = login(laptop);
    takeover.takeOver(ticketFor(desktop), desktop);
    clock().set(first.tokens.refreshExpiresAt - 1ms);
    clean();

    EXPECT_EQ(refusalOf([&] { refresh(first.tokens.refreshToken); }), "device_evicted");
}

TEST_P(ExpiredRowsTest, LoginsUnderWayAndProofsGoAsWell) {
    login();
    store().execute("INSERT INTO reauth_proofs (hash, account_id, session_id, expires_at) "
                    "SELECT 'h', account_id, id, 1 FROM sessions");
    store().execute("INSERT INTO login_transactions (id, provider, intent, code_challenge, "
                    "state_hash, created_at, expires_at) "
                    "VALUES ('t', 'github', 'sign_in', 'c', 's', 1, 1)");
    clean();

    EXPECT_EQ(rows("reauth_proofs"), 0);
    EXPECT_EQ(rows("login_transactions"), 0);
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(ExpiredRowsTest, ALoginThatNobodyFinishedGoesFiveMinutesAfterItsEnd) {
    store().execute("INSERT INTO login_transactions (id, provider, intent, code_challenge, "
                    "state_hash, created_at, expires_at, subject, email) "
                    "VALUES ('t', 'github', 'sign_in', 'c', 'used', 1, " +
                    std::to_string(storedTime(clock().now())) + ", '7', 'ada@example.org')");
    clock().advance(5min - 1ms);
    clean();
    EXPECT_EQ(rows("login_transactions"), 1);

    clock().advance(1ms);
    clean();
    EXPECT_EQ(rows("login_transactions"), 0);
}

TEST_P(ExpiredRowsTest, MoreRowsThanOneStepTakesGoAtOnce) {
    login();
    database().transact([](soci::session& sql) {
        for (int i = 0; i < 1200; ++i) {
            const std::string hash = std::to_string(i);
            sql << "INSERT INTO access_tokens (hash, session_id, expires_at) "
                   "SELECT :hash, id, 1 FROM sessions",
                soci::use(hash);
        }
    });
    clean();

    EXPECT_EQ(rows("access_tokens"), 1);
}

TEST_P(ExpiredRowsTest, ItIsDoneAgainAndAgain) {
    login();
    clock().advance(std::chrono::days(70));
    boost::asio::thread_pool pool(1);
    boost::asio::io_context context;
    boost::asio::co_spawn(context, keepDeletingExpiredRows(database(), clock(), pool, 1ms),
                          boost::asio::detached);
    std::jthread network([&] { context.run(); });
    // Whatever the test throws, the loop ends before its thread is waited for.
    const std::shared_ptr<void> end(nullptr, [&context](void*) { context.stop(); });

    EXPECT_TRUE(waitForCondition([&] { return rows("sessions") == 0; }));
    login();
    clock().advance(std::chrono::days(70));
    EXPECT_TRUE(waitForCondition([&] { return rows("sessions") == 0; }));
    context.stop();
    network.join();
    pool.join();
}

} // namespace lumivane::service::test
