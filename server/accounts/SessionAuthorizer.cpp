#include "server/accounts/SessionAuthorizer.h"

#include "server/accounts/AccountError.h"
#include "server/accounts/SessionRows.h"
#include "server/accounts/Tokens.h"
#include "server/store/Database.h"
#include "server/work/WorkPool.h"

namespace lumivane::service {

namespace {

struct Bearer {
    Principal principal;
    std::string endReason; // empty while the session goes on
    WallTime expiresAt;
    WallTime lastSeenAt;
};

std::optional<Bearer> findBearer(soci::session& sql, const std::string& hash) {
    Bearer bearer;
    std::string device;
    soci::indicator hasDevice = soci::i_null;
    soci::indicator hasReason = soci::i_null;
    soci::indicator wasSeen = soci::i_null;
    long long expiry = 0;
    long long lastSeen = 0;
    sql << "SELECT s.account_id, s.id, s.device_id, s.end_reason, t.expires_at, d.last_seen_at "
           "FROM access_tokens t JOIN sessions s ON s.id = t.session_id "
           "LEFT JOIN devices d ON d.account_id = s.account_id AND d.device_id = s.device_id "
           "WHERE t.hash = :hash",
        soci::use(hash), soci::into(bearer.principal.accountId),
        soci::into(bearer.principal.sessionId), soci::into(device, hasDevice),
        soci::into(bearer.endReason, hasReason), soci::into(expiry), soci::into(lastSeen, wasSeen);
    if (!sql.got_data()) {
        return std::nullopt;
    }
    if (hasDevice == soci::i_ok) {
        bearer.principal.deviceId = device;
    }
    bearer.expiresAt = wallTime(expiry);
    bearer.lastSeenAt = wallTime(lastSeen);
    return bearer;
}

bool isTicket(soci::session& sql, const std::string& hash) {
    long long count = 0;
    sql << "SELECT COUNT(*) FROM takeover_tickets WHERE hash = :hash", soci::use(hash),
        soci::into(count);
    return count > 0;
}

Authorization judged(soci::session& sql, const std::optional<Bearer>& bearer,
                     const std::string& hash, WallTime now) {
    if (!bearer) {
        return isTicket(sql, hash) ? insufficientScope() : unauthorized();
    }
    if (bearer->endReason == rawValue(SessionEnd::evicted)) {
        return deviceEvicted();
    }
    if (!bearer->endReason.empty() || bearer->expiresAt <= now) {
        return unauthorized();
    }
    return bearer->principal;
}

// Nobody is turned away because this could not be written down.
void keepSeen(Database& database, const Principal& principal, WallTime now) noexcept {
    const long long time = storedTime(now);
    const long long before = storedTime(now - SessionAuthorizer::seenInterval);
    try {
        database.transact([&](soci::session& sql) {
            sql << "UPDATE devices SET last_seen_at = :now WHERE account_id = :account "
                   "AND device_id = :device AND last_seen_at <= :before",
                soci::use(time), soci::use(principal.accountId), soci::use(*principal.deviceId),
                soci::use(before);
        });
    } catch (const std::exception&) {
        return;
    }
}

} // namespace

Authorization SessionAuthorizer::judge(const std::string& token) {
    if (token.size() != tokenLength) {
        return unauthorized();
    }
    const WallTime now = m_clock.now();
    const std::string hash = tokenHash(token);
    WallTime lastSeenAt = now;
    Authorization authorization = m_database.read([&](soci::session& sql) {
        const auto bearer = findBearer(sql, hash);
        if (bearer) {
            lastSeenAt = bearer->lastSeenAt;
        }
        return judged(sql, bearer, hash, now);
    });
    const auto* principal = std::get_if<Principal>(&authorization);
    if (principal != nullptr && principal->deviceId && lastSeenAt + seenInterval <= now) {
        keepSeen(m_database, *principal, now);
    }
    return authorization;
}

boost::asio::awaitable<Authorization> SessionAuthorizer::authorize(std::string token) {
    auto work = [this, token = std::move(token)]() -> Authorization {
        try {
            return judge(token);
        } catch (const StoreError&) {
            return storageUnavailable();
        }
    };
    auto judging = runOnWorkPool(m_pool, std::move(work));
    Authorization authorization = co_await std::move(judging);
    co_return authorization;
}

} // namespace lumivane::service
