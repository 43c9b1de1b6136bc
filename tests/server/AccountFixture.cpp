#include "server/AccountFixture.h"

namespace lumivane::service::test {

void storeAccount(Database& database, const std::string& id) {
    const std::string subject = "subject of " + id;
    const std::string email = id + "@example.org";
    database.transact([&](soci::session& sql) {
        sql << "INSERT INTO accounts (id, display_name, handle, handle_folded, created_at) "
               "VALUES (:id, 'Ada L.', :handle, :folded, 1)",
            soci::use(id), soci::use(id), soci::use(id);
        sql << "INSERT INTO identities (provider, subject, account_id, email, email_folded, "
               "email_verified, linked_at) VALUES ('github', :subject, :account, :email, :f, 1, 1)",
            soci::use(subject), soci::use(id), soci::use(email), soci::use(email);
    });
}

std::variant<IssuedLogin, TakeoverOffer> signIn(Database& database, const std::string& account,
                                                const DeviceRegistration& device, WallTime now) {
    const SessionIssuer issuer{SessionSettings()};
    return database.transact(
        [&](soci::session& sql) { return issuer.signIn(sql, account, device, now); });
}

AccountTest::AccountTest()
    : tokens(database(), TokenDerivation::load(database()), clock(), settings)
    , takeover(database(), TokenDerivation::load(database()), clock(), settings) {
    storeAccount(database(), "ada");
}

IssuedLogin AccountTest::login(const DeviceRegistration& device) {
    return std::get<IssuedLogin>(signIn(database(), "ada", device, clock().now()));
}

std::string AccountTest::ticketFor(const DeviceRegistration& device) {
    return std::get<TakeoverOffer>(signIn(database(), "ada", device, clock().now())).ticket;
}

} // namespace lumivane::service::test
