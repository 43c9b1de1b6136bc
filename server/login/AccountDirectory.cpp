#include "server/login/AccountDirectory.h"

#include "server/accounts/SessionRows.h"
#include "server/accounts/Tokens.h"
#include "server/login/LocalIdentityProvider.h"
#include "server/profile/HandleRules.h"
#include "server/profile/ProfileRecords.h"
#include "server/text/Utf8.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <soci/soci.h>

#include <algorithm>
#include <locale>

namespace lumivane::service {

namespace {

std::string foldedEmail(const std::string& email) {
    return boost::algorithm::to_lower_copy(email, std::locale::classic());
}

bool isTaken(soci::session& sql, const std::string& folded) {
    long long count = 0;
    sql << "SELECT COUNT(*) FROM accounts WHERE handle_folded = :handle", soci::use(folded),
        soci::into(count);
    return count > 0;
}

std::string displayNameFor(const ProvedIdentity& identity) {
    const auto name =
        displayNameFrom(shortened(trimmed(identity.suggestedName), displayNameMaximumLength));
    return name.value_or("Lumivane user");
}

std::string makeAccount(soci::session& sql, const ProvedIdentity& identity, WallTime now) {
    std::string id = makeIdentifier();
    const std::string name = displayNameFor(identity);
    const std::string handle = freeHandle(
        identity.suggestedName, [&sql](const std::string& folded) { return isTaken(sql, folded); });
    const std::string folded = foldHandle(handle);
    const long long time = storedTime(now);
    sql << "INSERT INTO accounts (id, display_name, handle, handle_folded, created_at) "
           "VALUES (:id, :name, :handle, :folded, :now)",
        soci::use(id), soci::use(name), soci::use(handle), soci::use(folded), soci::use(time);
    return id;
}

void insertIdentity(soci::session& sql, const std::string& accountId, AuthProvider provider,
                    const ProvedIdentity& identity, WallTime now) {
    const std::string providerName(rawValue(provider));
    const std::string email = identity.email.value_or("");
    const std::string folded = foldedEmail(email);
    soci::indicator hasEmail = identity.email ? soci::i_ok : soci::i_null;
    const long long isVerified = identity.email && identity.isEmailVerified ? 1 : 0;
    const long long time = storedTime(now);
    sql << "INSERT INTO identities (provider, subject, account_id, email, email_folded, "
           "email_verified, linked_at) VALUES (:provider, :subject, :account, :email, :folded, "
           ":verified, :now)",
        soci::use(providerName), soci::use(identity.subject), soci::use(accountId),
        soci::use(email, hasEmail), soci::use(folded, hasEmail), soci::use(isVerified),
        soci::use(time);
}

// Addresses change at the provider, and stop being somebody's.
void renewEmail(soci::session& sql, AuthProvider provider, const ProvedIdentity& identity) {
    const std::string providerName(rawValue(provider));
    const std::string email = identity.email.value_or("");
    const std::string folded = foldedEmail(email);
    soci::indicator hasEmail = identity.email ? soci::i_ok : soci::i_null;
    const long long isVerified = identity.email && identity.isEmailVerified ? 1 : 0;
    sql << "UPDATE identities SET email = :email, email_folded = :folded, "
           "email_verified = :verified WHERE provider = :provider AND subject = :subject",
        soci::use(email, hasEmail), soci::use(folded, hasEmail), soci::use(isVerified),
        soci::use(providerName), soci::use(identity.subject);
}

// What anybody could write on a local page opens no account of a real provider, nor the reverse.
std::optional<std::string> findAccountByEmail(soci::session& sql, const ProvedIdentity& identity) {
    if (!identity.email || !identity.isEmailVerified) {
        return std::nullopt;
    }
    const std::string folded = foldedEmail(*identity.email);
    const long long isLocal = isLocalSubject(identity.subject) ? 1 : 0;
    std::string account;
    long long count = 0;
    sql << "SELECT COALESCE(MIN(account_id), ''), COUNT(DISTINCT account_id) FROM identities "
           "WHERE email_folded = :email AND email_verified = 1 "
           "AND CASE WHEN subject LIKE 'local:%' THEN 1 ELSE 0 END = :local",
        soci::use(folded), soci::use(isLocal), soci::into(account), soci::into(count);
    return count == 1 ? std::optional(account) : std::nullopt;
}

bool hasProvider(soci::session& sql, const std::string& accountId, AuthProvider provider) {
    const std::string providerName(rawValue(provider));
    long long count = 0;
    sql << "SELECT COUNT(*) FROM identities WHERE account_id = :account AND provider = :provider",
        soci::use(accountId), soci::use(providerName), soci::into(count);
    return count > 0;
}

struct LinkedIdentity {
    AuthProvider provider = AuthProvider::github;
    bool isLocal = false;
};

std::vector<LinkedIdentity> identitiesOf(soci::session& sql, const std::string& accountId) {
    std::vector<LinkedIdentity> identities;
    const soci::rowset<soci::row> rows =
        (sql.prepare << "SELECT provider, subject FROM identities WHERE account_id = :account",
         soci::use(accountId));
    for (const soci::row& row : rows) {
        if (const auto provider = providerNamed(row.get<std::string>(0))) {
            identities.push_back({*provider, isLocalSubject(row.get<std::string>(1))});
        }
    }
    return identities;
}

bool isUsable(const LinkedIdentity& identity, const UsableLogins& usable) {
    return identity.isLocal == usable.areLocal &&
           std::find(usable.providers.begin(), usable.providers.end(), identity.provider) !=
               usable.providers.end();
}

} // namespace

std::optional<std::string> findAccountOf(soci::session& sql, AuthProvider provider,
                                         const std::string& subject) {
    const std::string providerName(rawValue(provider));
    std::string account;
    sql << "SELECT account_id FROM identities WHERE provider = :provider AND subject = :subject",
        soci::use(providerName), soci::use(subject), soci::into(account);
    return sql.got_data() ? std::optional(account) : std::nullopt;
}

std::string accountForSignIn(soci::session& sql, AuthProvider provider,
                             const ProvedIdentity& identity, WallTime now) {
    if (const auto known = findAccountOf(sql, provider, identity.subject)) {
        renewEmail(sql, provider, identity);
        return *known;
    }
    const auto related = findAccountByEmail(sql, identity);
    const bool canLink =
        related && claimAccount(sql, *related) && !hasProvider(sql, *related, provider);
    std::string account = canLink ? *related : makeAccount(sql, identity, now);
    insertIdentity(sql, account, provider, identity, now);
    return account;
}

Linking linkIdentity(soci::session& sql, const std::string& accountId, AuthProvider provider,
                     const ProvedIdentity& identity, WallTime now) {
    if (const auto known = findAccountOf(sql, provider, identity.subject)) {
        if (*known != accountId) {
            return Linking::identityElsewhere;
        }
        renewEmail(sql, provider, identity);
        return Linking::linked;
    }
    if (hasProvider(sql, accountId, provider)) {
        return Linking::providerTaken;
    }
    insertIdentity(sql, accountId, provider, identity, now);
    return Linking::linked;
}

Unlinking unlinkIdentity(soci::session& sql, const std::string& accountId, AuthProvider provider,
                         const UsableLogins& usable) {
    const auto linked = identitiesOf(sql, accountId);
    const auto isMeant = [provider](const LinkedIdentity& one) { return one.provider == provider; };
    if (std::none_of(linked.begin(), linked.end(), isMeant)) {
        return Unlinking::unlinked;
    }
    const auto remains = [&](const LinkedIdentity& one) {
        return !isMeant(one) && isUsable(one, usable);
    };
    if (std::none_of(linked.begin(), linked.end(), remains)) {
        return Unlinking::lastIdentity;
    }
    const std::string providerName(rawValue(provider));
    sql << "DELETE FROM identities WHERE account_id = :account AND provider = :provider",
        soci::use(accountId), soci::use(providerName);
    sql << "DELETE FROM takeover_tickets WHERE account_id = :account AND used_at IS NULL",
        soci::use(accountId);
    return Unlinking::unlinked;
}

void deleteAccount(soci::session& sql, const std::string& accountId) {
    // A sign-in belongs to nobody until it is fetched, but may say already who it will be.
    sql << "DELETE FROM login_transactions WHERE id IN (SELECT t.id FROM login_transactions t "
           "JOIN identities i ON i.provider = t.provider AND i.subject = t.subject "
           "WHERE i.account_id = :account)",
        soci::use(accountId);
    sql << "DELETE FROM accounts WHERE id = :account", soci::use(accountId);
}

} // namespace lumivane::service
