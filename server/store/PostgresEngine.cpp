#include "server/store/PostgresEngine.h"

#include "server/store/ConnectionPool.h"
#include "server/store/PostgresUrl.h"
#include "server/store/StoreEngine.h"
#include "server/store/StoreError.h"
#include "server/store/WallClock.h"

#include <soci/postgresql/soci-postgresql.h>

#include <algorithm>
#include <random>

namespace lumivane::service {

namespace {

using Case = StoreError::Case;

constexpr int attempts = 16;
constexpr std::int64_t longestPauseMilliseconds = 100;

constexpr const char* beginWrite = "BEGIN ISOLATION LEVEL SERIALIZABLE";
constexpr const char* beginRead = "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY";
// A picture taken before the lock is granted would not show what the holder of it did.
constexpr const char* beginMigration = "BEGIN ISOLATION LEVEL READ COMMITTED";

// What became of one run of a transaction that can be tried again.
enum class Attempt { done, metAnother, lostConnection };

PGconn* connectionOf(soci::session& sql) {
    return static_cast<soci::postgresql_session_backend*>(sql.get_backend())->conn_;
}

bool isConnected(soci::session& sql) {
    return sql.get_backend() != nullptr && PQstatus(connectionOf(sql)) == CONNECTION_OK;
}

std::string stateOf(const soci::soci_error& error) {
    const auto* own = dynamic_cast<const soci::postgresql_soci_error*>(&error);
    return own != nullptr ? own->sqlstate() : std::string("?");
}

bool metAnother(const soci::soci_error& error) {
    const std::string state = stateOf(error);
    return state == "40001" || state == "40P01";
}

// The server's last words on a connection can be read before its end is, and what never reached
// the server has no state, which the driver writes as blanks.
bool lostConnection(const soci::soci_error& error, soci::session& sql) {
    const std::string state = stateOf(error);
    return !isConnected(sql) || state.starts_with(" ") || state.starts_with("08") ||
           state.starts_with("57P");
}

StoreError translated(const soci::soci_error& error) {
    const std::string state = stateOf(error);
    if (state.starts_with("23")) {
        return {Case::conflict, "the database refused a change that breaks its rules"};
    }
    if (state == "57014" || state == "55P03") {
        return {Case::busy, "the database took too long to answer"};
    }
    return {Case::unavailable, "the database cannot be reached or used"};
}

// Two transactions that met would meet again if both came back at once.
void pauseBefore(int attempt) {
    thread_local std::minstd_rand random{std::random_device{}()};
    const std::int64_t most = std::min(longestPauseMilliseconds, std::int64_t{2} << attempt);
    pauseThread(
        std::chrono::milliseconds(std::uniform_int_distribution<std::int64_t>(0, most)(random)));
}

void rollBack(soci::session& sql) noexcept {
    try {
        sql << "ROLLBACK";
        // Within a transaction that has failed, the driver could not give them back.
        sql << "DEALLOCATE ALL";
    } catch (const std::exception&) {
        // A connection that cannot even do this is made anew at its next use.
        sql.close();
    }
}

class PostgresEngine final : public StoreEngine {
public:
    explicit PostgresEngine(const DatabaseSettings& settings)
        : m_url(withPostgresTimeouts(settings.location))
        , m_patience(settings.patience)
        , m_pool(settings.connections) {}

    void write(const StoreWork& work) override { run(beginWrite, work); }

    void read(const StoreWork& work) override { run(beginRead, work); }

    void migrate(const StoreWork& work) override {
        run(beginMigration, [&work](soci::session& sql) {
            sql << "SET LOCAL statement_timeout TO 60000";
            sql << "SELECT pg_advisory_xact_lock(5497713290418)";
            work(sql);
        });
    }

private:
    void connect(soci::session& sql) const {
        if (isConnected(sql)) {
            return;
        }
        sql.close();
        sql.open(soci::postgresql, m_url);
        // Notices would go to standard error, values included.
        PQsetNoticeReceiver(
            connectionOf(sql), [](void*, const PGresult*) {}, nullptr);
        sql << "SET client_encoding TO 'UTF8'";
        sql << "SET statement_timeout TO " << m_patience.count();
        sql << "SET idle_in_transaction_session_timeout TO " << 4 * m_patience.count();
    }

    Attempt commit(soci::session& sql) const {
        // Of a transaction that has failed, a commit would report success and keep nothing.
        if (PQtransactionStatus(connectionOf(sql)) != PQTRANS_INTRANS) {
            rollBack(sql);
            throw StoreError(Case::unavailable, "a failed statement was passed over");
        }
        try {
            sql << "COMMIT";
            return Attempt::done;
        } catch (const soci::soci_error& error) {
            rollBack(sql);
            if (metAnother(error)) {
                return Attempt::metAnother;
            }
            // Whether it took place cannot be known, so it is not for us to do it again.
            throw translated(error);
        }
    }

    Attempt attempt(soci::session& sql, const char* begin, const StoreWork& work) const {
        try {
            connect(sql);
            sql << begin;
            work(sql);
        } catch (const soci::soci_error& error) {
            if (lostConnection(error, sql)) {
                sql.close();
                return Attempt::lostConnection;
            }
            rollBack(sql);
            if (metAnother(error)) {
                return Attempt::metAnother;
            }
            throw translated(error);
        } catch (...) {
            rollBack(sql);
            throw;
        }
        return commit(sql);
    }

    void run(const char* begin, const StoreWork& work) {
        ConnectionLease lease(m_pool, m_patience);
        bool mayReconnect = true;
        for (int count = 0; count < attempts; ++count) {
            const Attempt outcome = attempt(lease.session(), begin, work);
            if (outcome == Attempt::done) {
                return;
            }
            if (outcome == Attempt::metAnother) {
                pauseBefore(count);
                continue;
            }
            // The server may have been started anew while the connection lay idle.
            if (!std::exchange(mayReconnect, false)) {
                throw StoreError(Case::unavailable, "the database went away");
            }
        }
        throw StoreError(Case::busy, "too many changes met in the database");
    }

    const std::string m_url;
    const std::chrono::milliseconds m_patience;
    soci::connection_pool m_pool;
};

} // namespace

std::unique_ptr<StoreEngine> openPostgres(const DatabaseSettings& settings) {
    return std::make_unique<PostgresEngine>(settings);
}

} // namespace lumivane::service
