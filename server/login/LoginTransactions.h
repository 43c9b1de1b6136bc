#pragma once

#include "server/login/IdentityProvider.h"
#include "server/store/WallClock.h"

#include <chrono>
#include <optional>
#include <string>

namespace soci {
class session;
}

namespace lumivane::service {

/// How long each step of a login may take. What ends exactly now has ended.
struct LoginLifetimes {
    std::chrono::milliseconds transaction = std::chrono::minutes(10);
    std::chrono::milliseconds handoff = std::chrono::minutes(2);
    std::chrono::milliseconds proof = std::chrono::minutes(5);
};

/// Whoever is logged in while they link or confirm.
struct LoginOwner {
    std::string accountId;
    std::string sessionId;
};

/// A login under way.
struct LoginTransaction {
    std::string id;
    AuthProvider provider = AuthProvider::github;
    AuthIntent intent = AuthIntent::signIn;
    std::string codeChallenge;
    std::optional<LoginOwner> owner; ///< there for every intent but signIn
    std::string browserHash;         ///< hash of the browser's secret, `unboundBrowser` or
                                     ///< `usedBrowser`
    WallTime expiresAt;
    std::optional<ProvedIdentity> identity; ///< once it is proved, with the next two
    std::string handoffHash;
    WallTime handoffExpiresAt;
    bool isCompleted = false;
};

/// No browser has opened the login yet.
inline constexpr std::string_view unboundBrowser;

/// The browser has come back, and can do so only once.
inline constexpr std::string_view usedBrowser = "used";

/// The steps of a login in the database; all run within the caller's transaction.

void insertTransaction(soci::session& sql, const LoginTransaction& transaction, WallTime now);

/// Expired ones included, as long as they are there.
std::optional<LoginTransaction> findTransaction(soci::session& sql, const std::string& id);

/// Changes whose the login is: from `from` to `to`. False where somebody else was first.
bool changeBrowser(soci::session& sql, const std::string& id, std::string_view from,
                   std::string_view to);

/// Writes down what the provider vouched for, and the code that fetches it.
void keepProvedIdentity(soci::session& sql, const std::string& id, const ProvedIdentity& identity,
                        const std::string& handoffHash, WallTime handoffExpiresAt);

/// Uses the login up, and forgets who logged in. False where it was before.
bool markCompleted(soci::session& sql, const std::string& id, WallTime now);

} // namespace lumivane::service
