#pragma once

#include "server/ManualWallClock.h"
#include "server/TestClient.h"
#include "server/accounts/AccountRoutes.h"
#include "server/accounts/SessionAuthorizer.h"
#include "server/http/HttpServer.h"
#include "server/store/Database.h"

#include <mutex>
#include <string>
#include <thread>

namespace lumivane::service::test {

/// One replica of the account side on a free loopback port, with threads of its own and nothing
/// shared with others but the database.
class AccountReplica {
public:
    explicit AccountReplica(const DatabaseSettings& settings, const WallClock& clock);
    ~AccountReplica();
    AccountReplica(const AccountReplica&) = delete;
    AccountReplica& operator=(const AccountReplica&) = delete;

    std::uint16_t port() const { return m_server.port(); }

    /// All lines logged so far.
    std::string log();

private:
    std::unique_ptr<Database> m_database;
    boost::asio::io_context m_context{1};
    boost::asio::thread_pool m_pool{8};
    std::mutex m_mutex;
    std::string m_log;
    SessionAuthorizer m_authorizer;
    AccountServices m_services;
    ServerMetrics m_metrics;
    HttpServer m_server;
    std::thread m_thread;
};

/// The bytes of a request to "/v1/auth/" `name`; no Authorization header where `token` is empty.
std::string accountRequest(const std::string& method, const std::string& name,
                           const std::string& token, const std::string& body = "");

/// The bodies of the records that a client sends.
std::string refreshBody(const std::string& token, const std::string& operation);
std::string revocationBody(const std::string& token);
std::string takeoverBody(const DeviceRegistration& device);

/// A member of a JSON object that must be a string.
std::string textIn(const std::string& body, const std::string& key);

} // namespace lumivane::service::test
