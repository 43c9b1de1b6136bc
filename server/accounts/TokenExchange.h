#pragma once

#include "server/accounts/LoginRecords.h"
#include "server/accounts/SessionSettings.h"
#include "server/accounts/Tokens.h"
#include "server/http/RateLimiter.h"

#include <memory>
#include <string>

namespace lumivane::service {

class Database;

/// What a client asks for when its access token runs out. The operation names one exchange, and
/// is asked under the same name again for as long as the client does not know what came of it.
struct RefreshRequest {
    std::string refreshToken;
    std::string operationId; ///< a UUID in lower case
};

/// Exchanges refresh tokens and ends sessions by them. Calls block; any thread, any replica.
class TokenExchange {
public:
    /// `limiter` counts by session how often a known token is asked with; none: no limit.
    TokenExchange(Database& database, TokenDerivation derivation, const WallClock& clock,
                  SessionSettings settings, std::shared_ptr<RateLimiter> limiter = nullptr);

    /// One exchange per token and operation: asked once more it gives byte for byte the same
    /// tokens, which are derived and so need not be stored, and their expiries. An access token
    /// that is about to end begins its time anew, for a client that only now learns of it; not so
    /// once the new refresh token has been exchanged itself. The same token under another
    /// operation was stolen from one side or the other, and ends its whole session. So does one
    /// that comes ten minutes after the client went on with tokens of an extended login.
    /// Throws AccountError (unauthorized, device_evicted, rate_limited) and StoreError.
    IssuedLogin refresh(const RefreshRequest& request);

    /// Ends the session that a token belongs to, even one that was exchanged; nothing happens for
    /// a token that nobody knows. Throws StoreError.
    void revoke(const std::string& refreshToken);

private:
    Database& m_database;
    const TokenDerivation m_derivation;
    const WallClock& m_clock;
    const SessionSettings m_settings;
    std::shared_ptr<RateLimiter> m_limiter;
};

} // namespace lumivane::service
