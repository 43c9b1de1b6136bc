#include "server/ProfileFixture.h"

#include "server/accounts/SessionIssuer.h"
#include "server/accounts/Tokens.h"
#include "server/profile/HandleRules.h"

namespace lumivane::service::test {

std::string addAccount(Database& database, const std::string& handle) {
    std::string id = "account-of-" + foldHandle(handle);
    const std::string folded = foldHandle(handle);
    const std::string name = "Name of " + handle;
    const std::string email = folded + "@mail.example";
    database.transact([&](soci::session& sql) {
        sql << "INSERT INTO accounts (id, display_name, handle, handle_folded, created_at) "
               "VALUES (:id, :name, :handle, :folded, 0)",
            soci::use(id), soci::use(name), soci::use(handle), soci::use(folded);
        sql << "INSERT INTO identities (provider, subject, account_id, email, email_folded, "
               "email_verified, linked_at) VALUES ('github', :subject, :id, :email, :folded, 1, 0)",
            soci::use(id), soci::use(id), soci::use(email), soci::use(email);
    });
    return id;
}

std::string logIn(Database& database, const WallClock& clock, const std::string& accountId) {
    const SessionIssuer issuer{SessionSettings{}};
    const DeviceRegistration device{makeToken(), "Machine", "laptop", "System 12"};
    const WallTime now = clock.now();
    return database.transact([&](soci::session& sql) {
        const auto outcome = issuer.signIn(sql, accountId, device, now);
        return std::get<IssuedLogin>(outcome).tokens.accessToken;
    });
}

Principal principalOf(const std::string& accountId) { return {accountId, "session", std::nullopt}; }

ProfileServer::ProfileServer(Database& database, const WallClock& clock,
                             HandleFilterSettings settings)
    : m_authorizer(database, clock, m_pool)
    , m_services(database, clock, settings)
    , m_server(
          m_context, Router(m_authorizer, profileRoutes(m_services, m_pool)), ServerLimits{},
          [](const std::string&) {}, m_metrics) {
    ListenAddress address;
    address.port = 0;
    m_server.listen(address);
    m_thread = std::thread([this] { m_context.run(); });
}

ProfileServer::~ProfileServer() {
    m_server.stop();
    m_thread.join();
    m_pool.join();
}

TestResponse ProfileServer::ask(const std::string& method, const std::string& path,
                                const std::string& token, const std::string& body,
                                const std::string& moreHeaders) const {
    std::string bytes = method + " " + path + " HTTP/1.1\r\nHost: localhost\r\n" + moreHeaders;
    if (!token.empty()) {
        bytes += "Authorization: Bearer " + token + "\r\n";
    }
    if (method != "GET" && method != "HEAD") {
        bytes +=
            "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
            "\r\n";
    }
    TestClient client(port());
    client.send(bytes + "\r\n" + body);
    return client.read(method != "HEAD");
}

} // namespace lumivane::service::test
