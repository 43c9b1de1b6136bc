#include "server/StoredAccount.h"

namespace lumivane::service::test {

void StoredAccount::insertInto(Database& database) const {
    const std::string subject = "subject of " + id;
    database.transact([&](soci::session& sql) {
        sql << "INSERT INTO accounts (id, display_name, handle, handle_folded, created_at) "
               "VALUES (:id, :name, :handle, :folded, 1)",
            soci::use(id), soci::use(displayName), soci::use(handle), soci::use(foldedHandle);
        sql << "INSERT INTO identities (provider, subject, account_id, email, email_folded, "
               "email_verified, linked_at) VALUES ('github', :subject, :account, :email, :f, 1, 1)",
            soci::use(subject), soci::use(id), soci::use(email), soci::use(email);
    });
}

} // namespace lumivane::service::test
