#pragma once

#include "server/StoreFixture.h"
#include "server/TestClient.h"
#include "server/accounts/SessionAuthorizer.h"
#include "server/http/HttpServer.h"
#include "server/profile/ProfileRoutes.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/thread_pool.hpp>

#include <string>
#include <thread>

namespace lumivane::service::test {

/// Stores an account with one identity; its name, its identifier and its mail address follow from
/// the handle.
std::string addAccount(Database& database, const std::string& handle);

/// The access token of a new login on a machine of its own.
std::string logIn(Database& database, const WallClock& clock, const std::string& accountId);

/// Who `addAccount` made.
Principal principalOf(const std::string& accountId);

/// The real server with the routes of profiles over a database, on a free loopback port and a
/// thread of its own.
class ProfileServer {
public:
    ProfileServer(Database& database, const WallClock& clock, HandleFilterSettings settings = {});
    ~ProfileServer();
    ProfileServer(const ProfileServer&) = delete;
    ProfileServer& operator=(const ProfileServer&) = delete;

    std::uint16_t port() const { return m_server.port(); }

    ProfileServices& services() { return m_services; }

    boost::asio::thread_pool& pool() { return m_pool; }

    /// Sends one request on a connection of its own and reads the answer. A body is JSON.
    TestResponse ask(const std::string& method, const std::string& path, const std::string& token,
                     const std::string& body = {}, const std::string& moreHeaders = {}) const;

private:
    boost::asio::io_context m_context{1};
    boost::asio::thread_pool m_pool{4};
    SessionAuthorizer m_authorizer;
    ProfileServices m_services;
    ServerMetrics m_metrics;
    HttpServer m_server;
    std::thread m_thread;
};

} // namespace lumivane::service::test
