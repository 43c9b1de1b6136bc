#include "server/ProfileFixture.h"

#include "server/StoredAccount.h"
#include "server/accounts/SessionIssuer.h"
#include "server/accounts/Tokens.h"
#include "server/profile/HandleRules.h"

namespace lumivane::service::test {

std::string addAccount(Database& database, const std::string& handle) {
    const std::string folded = foldHandle(handle);
    const StoredAccount account{"account-of-" + folded, "Name of " + handle, handle, folded,
                                folded + "@mail.example"};
    account.insertInto(database);
    return account.id;
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
    , m_server(m_context, Router(m_authorizer, profileRoutes(m_services, m_pool)), ServerLimits{},
               [](const std::string&) {}) {
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
