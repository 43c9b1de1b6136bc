#include "server/profile/AccountProfile.h"

#include "server/accounts/AccountError.h"
#include "server/profile/HandleRules.h"
#include "server/store/Database.h"

namespace lumivane::service {

namespace {

AccountError handleTaken() {
    return AccountError(Refusal{409, "handle_taken", "That handle is already taken."});
}

bool isHeldByAnother(soci::session& sql, const std::string& folded, const std::string& accountId) {
    std::string holder;
    sql << "SELECT id FROM accounts WHERE handle_folded = :folded", soci::use(folded),
        soci::into(holder);
    return sql.got_data() && holder != accountId;
}

void setHandle(soci::session& sql, const std::string& accountId, const std::string& handle) {
    const std::string folded = foldHandle(handle);
    if (isHeldByAnother(sql, folded, accountId)) {
        throw handleTaken();
    }
    sql << "UPDATE accounts SET handle = :handle, handle_folded = :folded WHERE id = :account",
        soci::use(handle), soci::use(folded), soci::use(accountId);
}

void setDisplayName(soci::session& sql, const std::string& accountId, const std::string& name) {
    sql << "UPDATE accounts SET display_name = :name WHERE id = :account", soci::use(name),
        soci::use(accountId);
}

} // namespace

UserSummary AccountProfile::change(const Principal& principal, const ProfileChange& wanted) {
    const std::string& account = principal.accountId;
    try {
        return m_database.transact([&](soci::session& sql) {
            if (wanted.handle) {
                setHandle(sql, account, *wanted.handle);
            }
            if (wanted.displayName) {
                setDisplayName(sql, account, *wanted.displayName);
            }
            UserSummary user = loadUser(sql, account);
            if (user.handle.empty()) {
                throw AccountError(unauthorized());
            }
            return user;
        });
    } catch (const StoreError& error) {
        // Two who both found the handle free: the only rule of the schema that this can break.
        if (error.errorCase() == StoreError::Case::conflict) {
            throw handleTaken();
        }
        throw;
    }
}

HandleAvailability AccountProfile::availability(const Principal& principal,
                                                const std::string& handle) {
    using Reason = HandleAvailability::Reason;
    if (!isWellFormedHandle(handle)) {
        return {handle, Reason::malformed};
    }
    const std::string folded = foldHandle(handle);
    const std::string holder = m_database.read([&folded](soci::session& sql) {
        std::string id;
        sql << "SELECT id FROM accounts WHERE handle_folded = :folded", soci::use(folded),
            soci::into(id);
        return id;
    });
    if (holder == principal.accountId) {
        return {handle, std::nullopt};
    }
    if (isReservedHandle(handle)) {
        return {handle, Reason::reserved};
    }
    return {handle, holder.empty() ? std::nullopt : std::optional(Reason::taken)};
}

} // namespace lumivane::service
