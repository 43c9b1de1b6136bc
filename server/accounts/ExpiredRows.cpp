#include "server/accounts/ExpiredRows.h"

#include "server/store/Database.h"
#include "server/work/WorkPool.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>

#include <array>

namespace lumivane::service {

namespace {

// Long enough for a client whose token ran out to be told why its session ended.
constexpr std::chrono::milliseconds grace = std::chrono::days(1);
// Of a login nobody asks that, and it holds a name and an address; its code may outlive it.
constexpr std::chrono::milliseconds loginGrace = std::chrono::minutes(5);
constexpr long long rowsAtOnce = 500;

constexpr const char* logins =
    "DELETE FROM login_transactions WHERE id IN "
    "(SELECT id FROM login_transactions WHERE expires_at <= :before LIMIT :count)";

constexpr std::array statements{
    "DELETE FROM access_tokens WHERE hash IN "
    "(SELECT hash FROM access_tokens WHERE expires_at <= :before LIMIT :count)",
    "DELETE FROM refresh_tokens WHERE hash IN "
    "(SELECT hash FROM refresh_tokens WHERE expires_at <= :before LIMIT :count)",
    "DELETE FROM takeover_tickets WHERE hash IN "
    "(SELECT hash FROM takeover_tickets WHERE expires_at <= :before LIMIT :count)",
    "DELETE FROM reauth_proofs WHERE hash IN "
    "(SELECT hash FROM reauth_proofs WHERE expires_at <= :before LIMIT :count)",
    // Comes last: a session stays for as long as one of its tokens can be asked about.
    "DELETE FROM sessions WHERE id IN (SELECT s.id FROM sessions s WHERE s.created_at <= :before "
    "AND NOT EXISTS (SELECT 1 FROM refresh_tokens t WHERE t.session_id = s.id) "
    "AND NOT EXISTS (SELECT 1 FROM access_tokens t WHERE t.session_id = s.id) LIMIT :count)",
};

long long deleteSome(Database& database, const char* text, long long before) {
    return database.transact([&](soci::session& sql) {
        soci::statement statement = (sql.prepare << text, soci::use(before), soci::use(rowsAtOnce));
        statement.execute(true);
        return static_cast<long long>(statement.get_affected_rows());
    });
}

void deleteAll(Database& database, const char* text, WallTime before) {
    while (deleteSome(database, text, storedTime(before)) == rowsAtOnce) {
    }
}

} // namespace

void deleteExpiredRows(Database& database, WallTime now) {
    deleteAll(database, logins, now - loginGrace);
    for (const char* statement : statements) {
        deleteAll(database, statement, now - grace);
    }
}

boost::asio::awaitable<void> keepDeletingExpiredRows(Database& database, const WallClock& clock,
                                                     boost::asio::thread_pool& pool,
                                                     std::chrono::milliseconds interval) {
    boost::asio::steady_timer timer(co_await boost::asio::this_coro::executor);
    for (;;) {
        // Not at once: the clock of a machine that has just started may still be far ahead.
        timer.expires_after(interval);
        co_await timer.async_wait(boost::asio::use_awaitable);
        auto work = [&database, &clock] {
            try {
                deleteExpiredRows(database, clock.now());
            } catch (const std::exception&) {
                return;
            }
        };
        auto deleting = runOnWorkPool(pool, std::move(work));
        co_await std::move(deleting);
    }
}

} // namespace lumivane::service
