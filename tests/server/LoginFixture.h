#pragma once

#include "server/StoreFixture.h"
#include "server/TestClient.h"
#include "server/accounts/SessionAuthorizer.h"
#include "server/http/HttpServer.h"
#include "server/login/LoginService.h"

#include <boost/json/object.hpp>

#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace lumivane::service::test {

using TextFields = std::vector<std::pair<std::string, std::string>>;

/// The server with the routes of logging in and the real authorizer, on a free loopback port.
class LoginServer {
public:
    LoginServer(Database& database, const WallClock& clock, const LoginSettings& settings,
                std::shared_ptr<RateLimiter> limiter);
    ~LoginServer();

    std::uint16_t port() const { return m_server.port(); }

    std::string log();

    LoginService& service() { return m_service; }

    /// The logins that came back to the service so far.
    std::vector<LoginEvent> events();

private:
    std::vector<Route> routes(std::shared_ptr<RateLimiter> limiter);

    boost::asio::io_context m_context{1};
    boost::asio::thread_pool m_pool{4};
    std::unique_ptr<UpstreamTransport> m_upstream = makeHttpUpstreamTransport();
    std::mutex m_mutex;
    std::string m_log;
    std::vector<LoginEvent> m_events;
    LoginService m_service;
    SessionAuthorizer m_authorizer;
    HttpServer m_server;
    std::thread m_thread;
};

/// A browser as far as logging in goes: one request at a time, cookies kept, redirects not
/// followed by themselves.
class TestBrowser {
public:
    explicit TestBrowser(std::uint16_t port)
        : host("127.0.0.1:" + std::to_string(port))
        , m_port(port) {}

    TestResponse get(const std::string& target) { return send("GET " + target, ""); }

    TestResponse post(const std::string& target, const TextFields& fields);

    /// "GET /path" or another method, with a form body unless that is empty.
    TestResponse send(const std::string& what, const std::string& form);

    std::map<std::string, std::string> cookies;
    std::string host;
    std::string forwardedFor; ///< empty: no proxy in between

private:
    void keepCookies(const std::string& lines);

    std::uint16_t m_port;
};

/// One login as the program sees it.
struct ProgramLogin {
    std::string transactionId;
    std::string path; ///< of the page to open
    std::string verifier;
};

/// The program's side: asks in JSON.
class TestProgram {
public:
    explicit TestProgram(std::uint16_t port)
        : m_port(port) {}

    TestResponse ask(const std::string& method, const std::string& path, const std::string& body,
                     const std::string& token = "");

    ProgramLogin begin(const std::string& provider, const std::string& intent = "sign_in",
                       const std::string& token = "");

    TestResponse complete(const ProgramLogin& login, const std::string& handoff,
                          const std::string& device = "device-of-the-tests");

private:
    std::uint16_t m_port;
};

/// The object in an answer; empty where there is none.
boost::json::object objectIn(const TestResponse& response);

/// A text of an answer's object; empty where there is none.
std::string textIn(const TestResponse& response, std::string_view key);

/// A value of the address that an answer redirects to; empty where there is none.
std::string redirectedValue(const TestResponse& response, const std::string& name);

/// The token of a page's form; empty where there is none.
std::string formTokenIn(const TestResponse& response);

/// A path without the origin in front of it.
std::string pathOfUrl(const std::string& url);

/// Everything on one engine: local pages, until `settings` says otherwise before `start`.
class LoginTest : public StoreTest {
protected:
    LoginTest();

    void start();

    /// The whole way over the local page: the handoff code.
    std::string handoffFor(const ProgramLogin& login, const std::string& name,
                           const std::string& email);

    /// Logs in over the local page; the answer of `complete`.
    TestResponse logIn(const std::string& provider, const std::string& name,
                       const std::string& email);

    /// The same for somebody who is logged in already.
    TestResponse withToken(const std::string& provider, const std::string& intent,
                           const std::string& token, const std::string& name,
                           const std::string& email);

    TestBrowser browser() { return TestBrowser(server->port()); }

    TestProgram program() { return TestProgram(server->port()); }

    LoginSettings settings;
    std::shared_ptr<RateLimiter> limiter; ///< of every route, by address
    std::unique_ptr<LoginServer> server;
};

} // namespace lumivane::service::test
