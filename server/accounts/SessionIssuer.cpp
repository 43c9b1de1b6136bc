#include "server/accounts/SessionIssuer.h"

#include "server/accounts/SessionRows.h"
#include "server/accounts/Tokens.h"

#include <soci/soci.h>

#include <stdexcept>

namespace lumivane::service {

namespace {

struct SessionState {
    std::string accountId;
    bool hasEnded = false;
    bool wasEvicted = false;
};

std::optional<SessionState> stateOf(soci::session& sql, const std::string& sessionId) {
    SessionState state;
    std::string reason;
    soci::indicator hasReason = soci::i_null;
    sql << "SELECT account_id, end_reason FROM sessions WHERE id = :session", soci::use(sessionId),
        soci::into(state.accountId), soci::into(reason, hasReason);
    if (!sql.got_data()) {
        return std::nullopt;
    }
    state.hasEnded = hasReason == soci::i_ok;
    state.wasEvicted = state.hasEnded && reason == rawValue(SessionEnd::evicted);
    return state;
}

void keepTicket(soci::session& sql, const std::string& accountId, const TakeoverOffer& offer) {
    const std::string hash = tokenHash(offer.ticket);
    const long long expiry = storedTime(offer.expiresAt);
    sql << "INSERT INTO takeover_tickets (hash, account_id, expires_at) "
           "VALUES (:hash, :account, :expiry)",
        soci::use(hash), soci::use(accountId), soci::use(expiry);
}

} // namespace

std::variant<IssuedLogin, TakeoverOffer> SessionIssuer::signIn(soci::session& sql,
                                                               const std::string& accountId,
                                                               const DeviceRegistration& device,
                                                               WallTime now) const {
    if (!claimAccount(sql, accountId)) {
        throw std::logic_error("a login for an account that does not exist");
    }
    const auto open = findOpenSession(sql, accountId, now);
    const bool isOwn = open && open->deviceId == device.identifier;
    if (open && open->isLive && open->deviceId && !isOwn) {
        TakeoverOffer made = offer(sql, accountId, *open->deviceId, now);
        keepTicket(sql, accountId, made);
        return made;
    }
    if (open) {
        endSession(sql, open->id, isOwn ? SessionEnd::replaced : SessionEnd::expired, now);
    }
    return issue(sql, accountId, openSession(sql, accountId, device, now), {}, now);
}

std::variant<IssuedLogin, TakeoverOffer, SessionOver>
SessionIssuer::extend(soci::session& sql, const std::string& sessionId, WallTime now) const {
    const auto state = stateOf(sql, sessionId);
    if (!state) {
        return SessionOver{};
    }
    if (!state->hasEnded) {
        return issue(sql, state->accountId, sessionId, newLine(sql, sessionId), now);
    }
    const auto holder = findOpenSession(sql, state->accountId, now);
    if (state->wasEvicted && holder && holder->isLive && holder->deviceId) {
        return offer(sql, state->accountId, *holder->deviceId, now);
    }
    return SessionOver{state->wasEvicted};
}

IssuedLogin SessionIssuer::issue(soci::session& sql, const std::string& accountId,
                                 const std::string& sessionId, const TokenLine& line,
                                 WallTime now) const {
    IssuedLogin login;
    login.tokens = tokensExpiring(m_settings, now);
    login.tokens.accessToken = makeToken();
    login.tokens.refreshToken = makeToken();
    keepTokens(sql, sessionId, login.tokens, line);
    login.user = loadUser(sql, accountId);
    return login;
}

TakeoverOffer SessionIssuer::offer(soci::session& sql, const std::string& accountId,
                                   const std::string& holder, WallTime now) const {
    TakeoverOffer made;
    made.ticket = makeToken();
    made.expiresAt = now + m_settings.ticketLifetime;
    if (auto device = findDevice(sql, accountId, holder)) {
        made.currentDevice = std::move(*device);
    }
    return made;
}

} // namespace lumivane::service
