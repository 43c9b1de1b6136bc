#pragma once

#include "server/accounts/DeviceRegistration.h"
#include "server/accounts/LoginRecords.h"
#include "server/accounts/SessionSettings.h"

#include <optional>
#include <string>

namespace soci {
class session;
}

namespace lumivane::service {

/// The steps out of which every change of a session is made; all run within the caller's
/// transaction.

/// Why a session ended.
enum class SessionEnd { replaced, evicted, replayed, revoked, signedOut, expired };

std::string_view rawValue(SessionEnd end);

struct OpenSession {
    std::string id;
    std::optional<std::string> deviceId;
    bool isLive = false; ///< whether it still has a token that can be refreshed
};

/// Makes everybody else who is about to change the same account's session wait or try again.
/// Comes first. False where there is no such account.
bool claimAccount(soci::session& sql, const std::string& accountId);

/// The one session of an account that has not ended.
std::optional<OpenSession> findOpenSession(soci::session& sql, const std::string& accountId,
                                           WallTime now);

/// Does nothing to a session that has ended before.
void endSession(soci::session& sql, const std::string& sessionId, SessionEnd end, WallTime now);

/// Writes down `device` as holder of the account and opens a session for it. There must be no
/// open one. Gives its name.
std::string openSession(soci::session& sql, const std::string& accountId,
                        const DeviceRegistration& device, WallTime now);

/// Writes down an access token's hash and expiry, or its new expiry where the hash is there.
void keepAccessToken(soci::session& sql, const std::string& sessionId, const IssuedTokens& tokens);

/// Which of a session's chains of refresh tokens one belongs to. A client keeps one of them.
struct TokenLine {
    long long number = 0;                                ///< the higher the newer
    std::optional<WallTime> supersededAt = std::nullopt; ///< when another one turned out to be it
};

/// A line above all that the session has.
TokenLine newLine(soci::session& sql, const std::string& sessionId);

/// Writes down the hashes of a session's new tokens.
void keepTokens(soci::session& sql, const std::string& sessionId, const IssuedTokens& tokens,
                const TokenLine& line = {});

std::optional<KnownDevice> findDevice(soci::session& sql, const std::string& accountId,
                                      const std::string& deviceId);

/// New expiries for tokens that are still to be made.
IssuedTokens tokensExpiring(const SessionSettings& settings, WallTime now);

} // namespace lumivane::service
