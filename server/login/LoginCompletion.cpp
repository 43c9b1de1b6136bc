#include "server/login/LoginCompletion.h"

#include "server/accounts/AccountError.h"
#include "server/accounts/SessionRows.h"
#include "server/accounts/Tokens.h"
#include "server/accounts/WireTime.h"
#include "server/login/LoginCrypto.h"

#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <soci/soci.h>

namespace lumivane::service {

namespace {

Refusal identityElsewhere() {
    return {409, "identity_already_linked", "That login belongs to another Lumivane account."};
}

Refusal providerTaken() {
    return {409, "provider_already_linked",
            "This account has another login of that provider. Unlink it first."};
}

Refusal otherAccount() {
    return {403, "reauthentication_failed",
            "That is not the account that you are signed in to, or the confirmation has expired."};
}

// What the code fetches is there, and the code is the right one.
bool isFetchable(const LoginTransaction& transaction, const std::string& handoffCode,
                 WallTime now) {
    return transaction.identity && !transaction.isCompleted && now < transaction.handoffExpiresAt &&
           equalInConstantTime(tokenHash(handoffCode), transaction.handoffHash);
}

// Whether the session that began the login is still there to end it.
bool isOwnerSignedIn(soci::session& sql, const LoginOwner& owner, WallTime now) {
    if (!claimAccount(sql, owner.accountId)) {
        return false;
    }
    const auto open = findOpenSession(sql, owner.accountId, now);
    return open && open->id == owner.sessionId;
}

Completion endOf(const SessionOver& over) {
    return over.wasEvicted ? deviceEvicted() : loginOver();
}

} // namespace

Refusal loginOver() { return {401, "unauthorized", "This login is over. Log in again."}; }

std::string encodeReauthProof(const ReauthProof& proof) {
    boost::json::object record;
    record["reauth_proof"] = proof.proof;
    record["expires_at"] = wireTime(proof.expiresAt);
    return boost::json::serialize(record);
}

Completion LoginCompletion::complete(soci::session& sql, const CompleteRequest& request,
                                     WallTime now) const {
    const auto transaction = findTransaction(sql, request.transactionId);
    if (!transaction || !isFetchable(*transaction, request.handoffCode, now)) {
        return loginOver();
    }
    const bool isVerified =
        equalInConstantTime(codeChallengeOf(request.codeVerifier), transaction->codeChallenge);
    // A client that forgot to say what it is may say so and come again.
    if (isVerified && transaction->intent == AuthIntent::signIn && !request.device) {
        return deviceRequired();
    }
    if (!markCompleted(sql, transaction->id, now) || !isVerified) {
        return loginOver();
    }
    switch (transaction->intent) {
    case AuthIntent::link:
        return link(sql, *transaction, now);
    case AuthIntent::deleteReauth:
        return prove(sql, *transaction, now);
    case AuthIntent::signIn:
        break;
    }
    return signIn(sql, *transaction, *request.device, now);
}

Completion LoginCompletion::signIn(soci::session& sql, const LoginTransaction& transaction,
                                   const DeviceRegistration& device, WallTime now) const {
    const std::string account =
        accountForSignIn(sql, transaction.provider, *transaction.identity, now);
    auto outcome = m_issuer.signIn(sql, account, device, now);
    if (auto* offer = std::get_if<TakeoverOffer>(&outcome)) {
        return std::move(*offer);
    }
    return std::get<IssuedLogin>(std::move(outcome));
}

Completion LoginCompletion::link(soci::session& sql, const LoginTransaction& transaction,
                                 WallTime now) const {
    if (!transaction.owner) {
        return loginOver();
    }
    const LoginOwner& owner = *transaction.owner;
    if (isOwnerSignedIn(sql, owner, now)) {
        const Linking linking =
            linkIdentity(sql, owner.accountId, transaction.provider, *transaction.identity, now);
        if (linking != Linking::linked) {
            return linking == Linking::providerTaken ? providerTaken() : identityElsewhere();
        }
    }
    // For a session that is over this changes nothing and says why.
    auto outcome = m_issuer.extend(sql, owner.sessionId, now);
    if (auto* login = std::get_if<IssuedLogin>(&outcome)) {
        return std::move(*login);
    }
    if (auto* offer = std::get_if<TakeoverOffer>(&outcome)) {
        return std::move(*offer);
    }
    return endOf(std::get<SessionOver>(outcome));
}

Completion LoginCompletion::prove(soci::session& sql, const LoginTransaction& transaction,
                                  WallTime now) const {
    if (!transaction.owner || !isOwnerSignedIn(sql, *transaction.owner, now)) {
        return loginOver();
    }
    const LoginOwner& owner = *transaction.owner;
    const auto account = findAccountOf(sql, transaction.provider, transaction.identity->subject);
    if (account != owner.accountId) {
        return otherAccount();
    }
    const ReauthProof proof{makeToken(), now + m_lifetimes.proof};
    const std::string hash = tokenHash(proof.proof);
    const long long expiry = storedTime(proof.expiresAt);
    sql << "INSERT INTO reauth_proofs (hash, account_id, session_id, expires_at) "
           "VALUES (:hash, :account, :session, :expiry)",
        soci::use(hash), soci::use(owner.accountId), soci::use(owner.sessionId), soci::use(expiry);
    return proof;
}

std::variant<UserSummary, Refusal> LoginCompletion::unlink(soci::session& sql,
                                                           const Principal& principal,
                                                           AuthProvider provider,
                                                           const UsableLogins& usable) {
    if (!claimAccount(sql, principal.accountId)) {
        return loginOver();
    }
    if (unlinkIdentity(sql, principal.accountId, provider, usable) == Unlinking::lastIdentity) {
        return Refusal{409, "last_identity",
                       "That is the only login on your account. Link another one first."};
    }
    return loadUser(sql, principal.accountId);
}

std::optional<Refusal> LoginCompletion::deleteAccount(soci::session& sql,
                                                      const Principal& principal,
                                                      const std::string& proof, WallTime now) {
    if (!claimAccount(sql, principal.accountId)) {
        return loginOver();
    }
    const std::string hash = tokenHash(proof);
    const long long time = storedTime(now);
    soci::statement use =
        (sql.prepare << "DELETE FROM reauth_proofs WHERE hash = :hash AND account_id = :account "
                        "AND session_id = :session AND expires_at > :time",
         soci::use(hash), soci::use(principal.accountId), soci::use(principal.sessionId),
         soci::use(time));
    use.execute(true);
    if (use.get_affected_rows() != 1) {
        return otherAccount();
    }
    lumivane::service::deleteAccount(sql, principal.accountId);
    return std::nullopt;
}

} // namespace lumivane::service
