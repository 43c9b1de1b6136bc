#include "server/accounts/TokenExchange.h"

#include "server/accounts/AccountError.h"
#include "server/accounts/SessionRows.h"
#include "server/http/ErrorEnvelope.h"
#include "server/store/Database.h"

#include <utility>
#include <variant>

namespace lumivane::service {

namespace {

using Purpose = TokenDerivation::Purpose;

// A refresh token as the database knows it.
struct KnownToken {
    std::string hash;
    std::string sessionId;
    std::string accountId;
    std::string deviceId;
    std::string endReason;
    WallTime expiresAt;
    std::string operationId; // empty until exchanged
    WallTime accessExpiresAt;
    WallTime successorExpiresAt;
    TokenLine line;
    bool isSuccessorUnused = false; // and may still be used
};

// A client refreshes a token with less than a minute left, so it needs more than that.
constexpr std::chrono::minutes leastTimeLeft{2};

// For a request that was under way when the client went over to another line.
constexpr std::chrono::minutes supersededGrace{10};

// A refusal is returned and not thrown, since what it changed must last.
enum class Refused { unauthorized, evicted };

std::optional<KnownToken> findToken(soci::session& sql, std::string hash) {
    KnownToken token;
    token.hash = std::move(hash);
    long long expiry = 0;
    long long accessExpiry = 0;
    long long successorExpiry = 0;
    long long unusedSuccessors = 0;
    soci::indicator device = soci::i_null;
    soci::indicator reason = soci::i_null;
    soci::indicator operation = soci::i_null;
    soci::indicator access = soci::i_null;
    soci::indicator successor = soci::i_null;
    long long supersededAt = 0;
    soci::indicator isSuperseded = soci::i_null;
    sql << "SELECT t.session_id, s.account_id, s.device_id, s.end_reason, t.expires_at, "
           "t.operation_id, t.access_expires_at, t.successor_expires_at, t.line, "
           "t.superseded_at, (SELECT COUNT(*) FROM refresh_tokens n "
           "WHERE n.hash = t.successor_hash AND n.exchanged_at IS NULL "
           "AND n.superseded_at IS NULL) "
           "FROM refresh_tokens t JOIN sessions s ON s.id = t.session_id WHERE t.hash = :hash",
        soci::use(token.hash), soci::into(token.sessionId), soci::into(token.accountId),
        soci::into(token.deviceId, device), soci::into(token.endReason, reason), soci::into(expiry),
        soci::into(token.operationId, operation), soci::into(accessExpiry, access),
        soci::into(successorExpiry, successor), soci::into(token.line.number),
        soci::into(supersededAt, isSuperseded), soci::into(unusedSuccessors);
    if (!sql.got_data()) {
        return std::nullopt;
    }
    token.expiresAt = wallTime(expiry);
    token.accessExpiresAt = wallTime(accessExpiry);
    token.successorExpiresAt = wallTime(successorExpiry);
    if (isSuperseded == soci::i_ok) {
        token.line.supersededAt = wallTime(supersededAt);
    }
    token.isSuccessorUnused = unusedSuccessors > 0;
    return token;
}

// The client holds one token at a time. Whoever exchanges one of a newer line, or one made later
// than another, has let the other go: what comes of that one is not the client's.
void supersedeOthers(soci::session& sql, const KnownToken& token, WallTime now) {
    const long long time = storedTime(now);
    const long long expiry = storedTime(token.expiresAt);
    sql << "UPDATE refresh_tokens SET superseded_at = :now WHERE session_id = :session "
           "AND exchanged_at IS NULL AND superseded_at IS NULL AND hash <> :hash "
           "AND (line < :line OR expires_at < :expiry)",
        soci::use(time), soci::use(token.sessionId), soci::use(token.hash),
        soci::use(token.line.number), soci::use(expiry);
}

void keepExchange(soci::session& sql, const KnownToken& token, const RefreshRequest& request,
                  const IssuedTokens& issued, WallTime now) {
    const std::string successor = tokenHash(issued.refreshToken);
    const long long time = storedTime(now);
    const long long accessExpiry = storedTime(issued.accessExpiresAt);
    const long long successorExpiry = storedTime(issued.refreshExpiresAt);
    sql << "UPDATE refresh_tokens SET operation_id = :operation, exchanged_at = :now, "
           "successor_hash = :successor, successor_expires_at = :expiry, "
           "access_expires_at = :access WHERE hash = :hash",
        soci::use(request.operationId), soci::use(time), soci::use(successor),
        soci::use(successorExpiry), soci::use(accessExpiry), soci::use(token.hash);
    if (!token.line.supersededAt) {
        supersedeOthers(sql, token, now);
    }
    keepTokens(sql, token.sessionId, issued, token.line);
    sql << "UPDATE devices SET last_seen_at = :now "
           "WHERE account_id = :account AND device_id = :device AND last_seen_at < :now2",
        soci::use(time), soci::use(token.accountId), soci::use(token.deviceId), soci::use(time);
}

// The client that asks again may never have heard the first answer, and an access token that is
// refused would sign it out.
void renewAccess(soci::session& sql, const KnownToken& token, const IssuedTokens& issued) {
    const long long expiry = storedTime(issued.accessExpiresAt);
    sql << "UPDATE refresh_tokens SET access_expires_at = :access WHERE hash = :hash",
        soci::use(expiry), soci::use(token.hash);
    keepAccessToken(sql, token.sessionId, issued);
}

IssuedTokens derivedTokens(const TokenDerivation& derivation, const RefreshRequest& request) {
    IssuedTokens tokens;
    tokens.accessToken =
        derivation.derive(Purpose::access, request.refreshToken, request.operationId);
    tokens.refreshToken =
        derivation.derive(Purpose::refresh, request.refreshToken, request.operationId);
    return tokens;
}

std::optional<Refused> judge(soci::session& sql, const std::optional<KnownToken>& token,
                             const RefreshRequest& request, WallTime now) {
    if (!token) {
        return Refused::unauthorized;
    }
    if (!token->endReason.empty()) {
        return token->endReason == rawValue(SessionEnd::evicted) ? Refused::evicted
                                                                 : Refused::unauthorized;
    }
    if (token->expiresAt <= now) {
        return Refused::unauthorized;
    }
    const bool isReplayed =
        !token->operationId.empty() && token->operationId != request.operationId;
    const auto supersededAt = token->line.supersededAt;
    if (isReplayed || (supersededAt && *supersededAt + supersededGrace <= now)) {
        endSession(sql, token->sessionId, SessionEnd::replayed, now);
        return Refused::unauthorized;
    }
    return std::nullopt;
}

} // namespace

TokenExchange::TokenExchange(Database& database, TokenDerivation derivation, const WallClock& clock,
                             SessionSettings settings, std::shared_ptr<RateLimiter> limiter)
    : m_database(database)
    , m_derivation(std::move(derivation))
    , m_clock(clock)
    , m_settings(settings)
    , m_limiter(std::move(limiter)) {}

IssuedLogin TokenExchange::refresh(const RefreshRequest& request) {
    if (request.refreshToken.size() != tokenLength) {
        throw AccountError(unauthorized());
    }
    const WallTime now = m_clock.now();
    const std::string hash = tokenHash(request.refreshToken);
    const IssuedTokens derived = derivedTokens(m_derivation, request);
    // Counted once, however often the database makes the transaction run.
    bool isCounted = m_limiter == nullptr;
    const auto exchange = [&](soci::session& sql) -> std::variant<IssuedLogin, Refused> {
        const auto token = findToken(sql, hash);
        if (token && !std::exchange(isCounted, true)) {
            if (const auto wait = m_limiter->take(token->sessionId)) {
                throw AccountError(rateLimited(*wait));
            }
        }
        if (const auto refused = judge(sql, token, request, now)) {
            return *refused;
        }
        IssuedLogin login;
        login.tokens = derived;
        login.tokens.accessExpiresAt = token->accessExpiresAt;
        login.tokens.refreshExpiresAt = token->successorExpiresAt;
        if (token->operationId.empty()) {
            login.tokens.accessExpiresAt = now + m_settings.accessLifetime;
            login.tokens.refreshExpiresAt = now + m_settings.refreshLifetime;
            keepExchange(sql, *token, request, login.tokens, now);
        } else if (token->isSuccessorUnused && token->accessExpiresAt <= now + leastTimeLeft) {
            login.tokens.accessExpiresAt = now + m_settings.accessLifetime;
            renewAccess(sql, *token, login.tokens);
        }
        login.user = loadUser(sql, token->accountId);
        return login;
    };
    auto outcome = m_database.transact(exchange);
    if (const auto* refused = std::get_if<Refused>(&outcome)) {
        throw AccountError(*refused == Refused::evicted ? deviceEvicted() : unauthorized());
    }
    return std::get<IssuedLogin>(std::move(outcome));
}

void TokenExchange::revoke(const std::string& refreshToken) {
    if (refreshToken.size() != tokenLength) {
        return;
    }
    const WallTime now = m_clock.now();
    const std::string hash = tokenHash(refreshToken);
    m_database.transact([&](soci::session& sql) {
        if (const auto token = findToken(sql, hash)) {
            endSession(sql, token->sessionId, SessionEnd::revoked, now);
        }
    });
}

} // namespace lumivane::service
