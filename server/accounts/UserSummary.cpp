#include "server/accounts/UserSummary.h"

#include <boost/json/array.hpp>
#include <soci/soci.h>

#include <algorithm>

namespace lumivane::service {

namespace {

void loadIdentities(soci::session& sql, const std::string& accountId, UserSummary& user) {
    std::string provider;
    std::string email;
    soci::indicator hasEmail = soci::i_null;
    long long isVerified = 0;
    soci::statement identities =
        (sql.prepare << "SELECT provider, email, email_verified FROM identities "
                        "WHERE account_id = :account ORDER BY linked_at, provider",
         soci::use(accountId), soci::into(provider), soci::into(email, hasEmail),
         soci::into(isVerified));
    identities.execute();
    while (identities.fetch()) {
        if (const auto known = providerNamed(provider)) {
            user.linkedProviders.push_back(*known);
        }
        if (!user.verifiedEmail && hasEmail == soci::i_ok && isVerified != 0) {
            user.verifiedEmail = email;
        }
    }
    std::sort(user.linkedProviders.begin(), user.linkedProviders.end());
}

} // namespace

UserSummary loadUser(soci::session& sql, const std::string& accountId) {
    UserSummary user;
    sql << "SELECT display_name, handle FROM accounts WHERE id = :account", soci::use(accountId),
        soci::into(user.displayName), soci::into(user.handle);
    loadIdentities(sql, accountId, user);
    return user;
}

boost::json::object encodeUser(const UserSummary& user) {
    boost::json::object record;
    record["display_name"] = user.displayName;
    if (user.verifiedEmail) {
        record["verified_email"] = *user.verifiedEmail;
    }
    boost::json::array providers;
    for (const AuthProvider provider : user.linkedProviders) {
        providers.emplace_back(rawValue(provider));
    }
    record["linked_providers"] = std::move(providers);
    record["handle"] = user.handle;
    return record;
}

} // namespace lumivane::service
