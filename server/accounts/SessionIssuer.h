#pragma once

#include "server/accounts/DeviceRegistration.h"
#include "server/accounts/LoginRecords.h"
#include "server/accounts/SessionSettings.h"

#include <string>
#include <variant>

namespace soci {
class session;
}

namespace lumivane::service {

struct TokenLine;

/// The session that a step belongs to has ended.
struct SessionOver {
    bool wasEvicted = false; ///< because the account moved to another machine
};

/// Turns a proved identity into tokens. Every call runs within the caller's transaction, so that a
/// login and what it rests on last together; `now` is taken once, outside of it. Immutable; any
/// thread.
class SessionIssuer {
public:
    explicit SessionIssuer(SessionSettings settings)
        : m_settings(settings) {}

    /// Logs an existing account in on `device`, which must be complete. An account is signed in on
    /// one machine at a time: where another one holds it and can still refresh, nothing changes and
    /// the answer offers to move it. A session that this same machine still had ends.
    std::variant<IssuedLogin, TakeoverOffer> signIn(soci::session& sql,
                                                    const std::string& accountId,
                                                    const DeviceRegistration& device,
                                                    WallTime now) const;

    /// Fresh tokens for a session that goes on, after something was linked to its account. The
    /// ones that it has stay good until the first of the fresh ones is exchanged, so that a lost
    /// answer costs nothing. Where the account has moved
    /// to another machine meanwhile the answer says so, with a ticket that opens nothing: whoever
    /// was sent away logs in again to come back.
    std::variant<IssuedLogin, TakeoverOffer, SessionOver>
    extend(soci::session& sql, const std::string& sessionId, WallTime now) const;

private:
    IssuedLogin issue(soci::session& sql, const std::string& accountId,
                      const std::string& sessionId, const TokenLine& line, WallTime now) const;
    TakeoverOffer offer(soci::session& sql, const std::string& accountId, const std::string& holder,
                        WallTime now) const;

    SessionSettings m_settings;
};

} // namespace lumivane::service
