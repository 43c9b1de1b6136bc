#include "server/accounts/SessionRows.h"

#include "server/accounts/Tokens.h"

#include <soci/soci.h>

namespace lumivane::service {

std::string_view rawValue(SessionEnd end) {
    switch (end) {
    case SessionEnd::replaced:
        return "replaced";
    case SessionEnd::evicted:
        return "evicted";
    case SessionEnd::replayed:
        return "replayed";
    case SessionEnd::revoked:
        return "revoked";
    case SessionEnd::signedOut:
        return "signed_out";
    case SessionEnd::expired:
        break;
    }
    return "expired";
}

bool claimAccount(soci::session& sql, const std::string& accountId) {
    soci::statement claim =
        (sql.prepare << "UPDATE accounts SET device_id = device_id WHERE id = :account",
         soci::use(accountId));
    claim.execute(true);
    return claim.get_affected_rows() == 1;
}

std::optional<OpenSession> findOpenSession(soci::session& sql, const std::string& accountId,
                                           WallTime now) {
    OpenSession open;
    std::string device;
    soci::indicator hasDevice = soci::i_null;
    long long liveTokens = 0;
    const long long time = storedTime(now);
    sql << "SELECT s.id, s.device_id, (SELECT COUNT(*) FROM refresh_tokens t "
           "WHERE t.session_id = s.id AND t.exchanged_at IS NULL AND t.superseded_at IS NULL "
           "AND t.expires_at > :now) "
           "FROM sessions s WHERE s.account_id = :account AND s.ended_at IS NULL",
        soci::use(time), soci::use(accountId), soci::into(open.id), soci::into(device, hasDevice),
        soci::into(liveTokens);
    if (!sql.got_data()) {
        return std::nullopt;
    }
    if (hasDevice == soci::i_ok) {
        open.deviceId = device;
    }
    open.isLive = liveTokens > 0;
    return open;
}

void endSession(soci::session& sql, const std::string& sessionId, SessionEnd end, WallTime now) {
    const std::string reason(rawValue(end));
    const long long time = storedTime(now);
    sql << "UPDATE sessions SET ended_at = :now, end_reason = :reason "
           "WHERE id = :session AND ended_at IS NULL",
        soci::use(time), soci::use(reason), soci::use(sessionId);
}

std::string openSession(soci::session& sql, const std::string& accountId,
                        const DeviceRegistration& device, WallTime now) {
    std::string session = makeIdentifier();
    const long long time = storedTime(now);
    sql << "INSERT INTO devices (account_id, device_id, name, kind, os_version, registered_at, "
           "last_seen_at) VALUES (:account, :device, :name, :kind, :os, :now, :seen) "
           "ON CONFLICT (account_id, device_id) DO UPDATE SET name = excluded.name, "
           "kind = excluded.kind, os_version = excluded.os_version, "
           "last_seen_at = excluded.last_seen_at",
        soci::use(accountId), soci::use(device.identifier), soci::use(device.name),
        soci::use(device.kind), soci::use(device.osVersion), soci::use(time), soci::use(time);
    sql << "UPDATE accounts SET device_id = :device WHERE id = :account",
        soci::use(device.identifier), soci::use(accountId);
    sql << "INSERT INTO sessions (id, account_id, device_id, created_at) "
           "VALUES (:session, :account, :device, :now)",
        soci::use(session), soci::use(accountId), soci::use(device.identifier), soci::use(time);
    return session;
}

void keepAccessToken(soci::session& sql, const std::string& sessionId, const IssuedTokens& tokens) {
    const std::string hash = tokenHash(tokens.accessToken);
    const long long expiry = storedTime(tokens.accessExpiresAt);
    sql << "INSERT INTO access_tokens (hash, session_id, expires_at) "
           "VALUES (:hash, :session, :expiry) "
           "ON CONFLICT (hash) DO UPDATE SET expires_at = excluded.expires_at",
        soci::use(hash), soci::use(sessionId), soci::use(expiry);
}

TokenLine newLine(soci::session& sql, const std::string& sessionId) {
    TokenLine line;
    sql << "SELECT COALESCE(MAX(line), 0) + 1 FROM refresh_tokens "
           "WHERE session_id = :session AND exchanged_at IS NULL",
        soci::use(sessionId), soci::into(line.number);
    return line;
}

void keepTokens(soci::session& sql, const std::string& sessionId, const IssuedTokens& tokens,
                const TokenLine& line) {
    const std::string refresh = tokenHash(tokens.refreshToken);
    const long long refreshExpiry = storedTime(tokens.refreshExpiresAt);
    const long long supersededAt = storedTime(line.supersededAt.value_or(WallTime()));
    soci::indicator isSuperseded = line.supersededAt ? soci::i_ok : soci::i_null;
    keepAccessToken(sql, sessionId, tokens);
    sql << "INSERT INTO refresh_tokens (hash, session_id, expires_at, line, superseded_at) "
           "VALUES (:hash, :session, :expiry, :line, :superseded)",
        soci::use(refresh), soci::use(sessionId), soci::use(refreshExpiry), soci::use(line.number),
        soci::use(supersededAt, isSuperseded);
}

std::optional<KnownDevice> findDevice(soci::session& sql, const std::string& accountId,
                                      const std::string& deviceId) {
    KnownDevice device;
    long long registeredAt = 0;
    long long lastSeenAt = 0;
    sql << "SELECT device_id, name, kind, os_version, registered_at, last_seen_at FROM devices "
           "WHERE account_id = :account AND device_id = :device",
        soci::use(accountId), soci::use(deviceId), soci::into(device.identifier),
        soci::into(device.name), soci::into(device.kind), soci::into(device.osVersion),
        soci::into(registeredAt), soci::into(lastSeenAt);
    if (!sql.got_data()) {
        return std::nullopt;
    }
    device.registeredAt = wallTime(registeredAt);
    device.lastSeenAt = wallTime(lastSeenAt);
    return device;
}

IssuedTokens tokensExpiring(const SessionSettings& settings, WallTime now) {
    IssuedTokens tokens;
    tokens.accessExpiresAt = now + settings.accessLifetime;
    tokens.refreshExpiresAt = now + settings.refreshLifetime;
    return tokens;
}

} // namespace lumivane::service
