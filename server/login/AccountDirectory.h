#pragma once

#include "server/login/IdentityProvider.h"
#include "server/store/WallClock.h"

#include <optional>
#include <string>
#include <vector>

namespace soci {
class session;
}

namespace lumivane::service {

/// Which identities open which accounts; all run within the caller's transaction.

/// The account that an identity opens: the one it is linked to; else the only one that has the
/// same address, where both sides' providers have verified it, to which it is then linked; else a
/// new one.
std::string accountForSignIn(soci::session& sql, AuthProvider provider,
                             const ProvedIdentity& identity, WallTime now);

/// The account that an identity is linked to.
std::optional<std::string> findAccountOf(soci::session& sql, AuthProvider provider,
                                         const std::string& subject);

enum class Linking {
    linked,            ///< now, or before
    identityElsewhere, ///< it opens another account
    providerTaken      ///< the account has another identity of this provider
};

Linking linkIdentity(soci::session& sql, const std::string& accountId, AuthProvider provider,
                     const ProvedIdentity& identity, WallTime now);

enum class Unlinking {
    unlinked,    ///< now, or before
    lastIdentity ///< without it nobody could open the account
};

/// The logins that can be made at present. One of another provider opens nothing until it is
/// configured again, nor does one of the other kind.
struct UsableLogins {
    std::vector<AuthProvider> providers;
    bool areLocal = false; ///< over this service's own pages
};

/// Takes a provider's identity off, together with the tickets that logins have left, which may be
/// its own.
Unlinking unlinkIdentity(soci::session& sql, const std::string& accountId, AuthProvider provider,
                         const UsableLogins& usable);

/// Removes an account with everything that belongs to it.
void deleteAccount(soci::session& sql, const std::string& accountId);

} // namespace lumivane::service
