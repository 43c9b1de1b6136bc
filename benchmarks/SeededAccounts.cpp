#include "SeededAccounts.h"

#include "server/accounts/Tokens.h"

namespace lumivane::bench {

namespace {

service::DatabaseSettings patientSettings(const std::string& location) {
    service::DatabaseSettings settings;
    settings.location = location;
    settings.patience = std::chrono::seconds(60);
    return settings;
}

} // namespace

service::DeviceRegistration makeDevice() {
    return {service::makeToken(), "Load machine", "desktop", "Linux 12"};
}

SeededAccounts::SeededAccounts(const std::string& database)
    : m_database(service::Database::open(patientSettings(database))) {}

SeededSession SeededAccounts::add(const std::string& handle) {
    SeededSession session{"account-of-" + handle, makeDevice(), {}, {}};
    m_database->transact([&](soci::session& sql) {
        sql << "INSERT INTO accounts (id, display_name, handle, handle_folded, created_at) "
               "VALUES (:id, 'Load', :handle, :folded, 0)",
            soci::use(session.accountId), soci::use(handle), soci::use(handle);
        sql << "INSERT INTO identities (provider, subject, account_id, email_verified, linked_at) "
               "VALUES ('github', :subject, :id, 0, 0)",
            soci::use(session.accountId), soci::use(session.accountId);
    });
    const auto login = std::get<service::IssuedLogin>(logIn(session.accountId, session.device));
    session.accessToken = login.tokens.accessToken;
    session.refreshToken = login.tokens.refreshToken;
    return session;
}

std::variant<service::IssuedLogin, service::TakeoverOffer>
SeededAccounts::logIn(const std::string& accountId, const service::DeviceRegistration& device) {
    const service::WallTime now = service::SystemWallClock().now();
    return m_database->transact(
        [&](soci::session& sql) { return m_issuer.signIn(sql, accountId, device, now); });
}

long long SeededAccounts::number(const std::string& query) {
    return m_database->read([&query](soci::session& sql) {
        long long value = -1;
        sql << query, soci::into(value);
        return value;
    });
}

} // namespace lumivane::bench
