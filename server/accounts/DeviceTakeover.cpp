#include "server/accounts/DeviceTakeover.h"

#include "server/accounts/AccountError.h"
#include "server/accounts/SessionRows.h"
#include "server/store/Database.h"

#include <optional>

namespace lumivane::service {

namespace {

using Purpose = TokenDerivation::Purpose;

struct KnownTicket {
    std::string hash;
    std::string accountId;
    WallTime expiresAt;
    std::string deviceId; // of the machine that used it; empty until then
    WallTime accessExpiresAt;
    WallTime refreshExpiresAt;
    bool isSessionOpen = false; // the session that it brought
};

std::optional<KnownTicket> findTicket(soci::session& sql, std::string hash) {
    KnownTicket ticket;
    ticket.hash = std::move(hash);
    long long expiry = 0;
    long long accessExpiry = 0;
    long long refreshExpiry = 0;
    long long openSessions = 0;
    soci::indicator device = soci::i_null;
    soci::indicator access = soci::i_null;
    soci::indicator refresh = soci::i_null;
    sql << "SELECT account_id, expires_at, device_id, access_expires_at, refresh_expires_at, "
           "(SELECT COUNT(*) FROM sessions s WHERE s.id = session_id AND s.ended_at IS NULL) "
           "FROM takeover_tickets WHERE hash = :hash",
        soci::use(ticket.hash), soci::into(ticket.accountId), soci::into(expiry),
        soci::into(ticket.deviceId, device), soci::into(accessExpiry, access),
        soci::into(refreshExpiry, refresh), soci::into(openSessions);
    if (!sql.got_data()) {
        return std::nullopt;
    }
    ticket.expiresAt = wallTime(expiry);
    ticket.accessExpiresAt = wallTime(accessExpiry);
    ticket.refreshExpiresAt = wallTime(refreshExpiry);
    ticket.isSessionOpen = openSessions > 0;
    return ticket;
}

void keepUse(soci::session& sql, const KnownTicket& ticket, const DeviceRegistration& device,
             const std::string& sessionId, const IssuedTokens& tokens, WallTime now) {
    const long long time = storedTime(now);
    const long long accessExpiry = storedTime(tokens.accessExpiresAt);
    const long long refreshExpiry = storedTime(tokens.refreshExpiresAt);
    sql << "UPDATE takeover_tickets SET used_at = :now, device_id = :device, "
           "session_id = :session, access_expires_at = :access, refresh_expires_at = :refresh "
           "WHERE hash = :hash",
        soci::use(time), soci::use(device.identifier), soci::use(sessionId),
        soci::use(accessExpiry), soci::use(refreshExpiry), soci::use(ticket.hash);
}

void endHolder(soci::session& sql, const std::string& accountId, const DeviceRegistration& device,
               WallTime now) {
    if (const auto open = findOpenSession(sql, accountId, now)) {
        const bool isOwn = open->deviceId == device.identifier;
        endSession(sql, open->id, isOwn ? SessionEnd::replaced : SessionEnd::evicted, now);
    }
}

} // namespace

DeviceTakeover::DeviceTakeover(Database& database, TokenDerivation derivation,
                               const WallClock& clock, SessionSettings settings)
    : m_database(database)
    , m_derivation(std::move(derivation))
    , m_clock(clock)
    , m_settings(settings) {}

IssuedLogin DeviceTakeover::takeOver(const std::string& ticket, const DeviceRegistration& device) {
    if (!device.isComplete()) {
        throw AccountError(deviceRequired());
    }
    if (ticket.size() != tokenLength) {
        throw AccountError(unauthorized());
    }
    const WallTime now = m_clock.now();
    const std::string hash = tokenHash(ticket);
    IssuedTokens fresh = tokensExpiring(m_settings, now);
    fresh.accessToken = m_derivation.derive(Purpose::access, ticket, device.identifier);
    fresh.refreshToken = m_derivation.derive(Purpose::refresh, ticket, device.identifier);
    return m_database.transact([&](soci::session& sql) {
        const auto known = findTicket(sql, hash);
        if (!known || known->expiresAt <= now) {
            throw AccountError(unauthorized());
        }
        IssuedLogin login;
        login.tokens = fresh;
        if (known->deviceId.empty()) {
            claimAccount(sql, known->accountId);
            endHolder(sql, known->accountId, device, now);
            const std::string session = openSession(sql, known->accountId, device, now);
            keepTokens(sql, session, fresh);
            keepUse(sql, *known, device, session, fresh, now);
        } else if (known->deviceId == device.identifier && known->isSessionOpen) {
            login.tokens.accessExpiresAt = known->accessExpiresAt;
            login.tokens.refreshExpiresAt = known->refreshExpiresAt;
        } else {
            throw AccountError(unauthorized());
        }
        login.user = loadUser(sql, known->accountId);
        return login;
    });
}

} // namespace lumivane::service
