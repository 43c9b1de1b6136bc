#pragma once

#include "server/accounts/SessionIssuer.h"
#include "server/http/Authorizer.h"
#include "server/login/AccountDirectory.h"
#include "server/login/LoginRequests.h"
#include "server/login/LoginTransactions.h"

#include <string>
#include <variant>

namespace lumivane::service {

/// That somebody has just logged in again, in order to delete the account.
struct ReauthProof {
    std::string proof;
    WallTime expiresAt;
};

using Completion = std::variant<IssuedLogin, TakeoverOffer, ReauthProof, Refusal>;

/// What the client asks for at the end of a login and with a login. Every call runs within the
/// caller's transaction, which must last whatever comes out: a refused code is used up. Immutable;
/// any thread.
class LoginCompletion {
public:
    LoginCompletion(SessionIssuer issuer, LoginLifetimes lifetimes)
        : m_issuer(issuer)
        , m_lifetimes(lifetimes) {}

    /// Changes a handoff code for what the login was for. A code works once, together with the
    /// verifier of its login; a wrong verifier uses it up as well.
    Completion complete(soci::session& sql, const CompleteRequest& request, WallTime now) const;

    /// Takes a provider off an account that another one of `usable` can still open: the user as
    /// they are then.
    static std::variant<UserSummary, Refusal> unlink(soci::session& sql, const Principal& principal,
                                                     AuthProvider provider,
                                                     const UsableLogins& usable);

    /// Deletes the account for a proof of this very session. None when it is gone.
    static std::optional<Refusal> deleteAccount(soci::session& sql, const Principal& principal,
                                                const std::string& proof, WallTime now);

private:
    Completion signIn(soci::session& sql, const LoginTransaction& transaction,
                      const DeviceRegistration& device, WallTime now) const;
    Completion link(soci::session& sql, const LoginTransaction& transaction, WallTime now) const;
    Completion prove(soci::session& sql, const LoginTransaction& transaction, WallTime now) const;

    SessionIssuer m_issuer;
    LoginLifetimes m_lifetimes;
};

/// The refusal for whatever is unknown, used up or too late: 401 "unauthorized".
Refusal loginOver();

/// {"reauth_proof", "expires_at"}.
std::string encodeReauthProof(const ReauthProof& proof);

} // namespace lumivane::service
