#include "server/AccountFixture.h"

#include "server/StoredAccount.h"

namespace lumivane::service::test {

void storeAccount(Database& database, const std::string& id) {
    StoredAccount{id, "Ada L.", id, id, id + "@example.org"}.insertInto(database);
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
