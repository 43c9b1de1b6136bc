#pragma once

#include "server/http/ForwardedAddress.h"
#include "server/http/RequestLog.h"
#include "server/http/Router.h"
#include "server/http/ServerLimits.h"
#include "server/http/ServerMetrics.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <cstdint>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

namespace lumivane::service {

class HttpConnection;
struct ServerShared;

/// The address cannot be listened on. `what()` is a sentence for the person who starts the
/// service.
class ListenError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct ListenAddress {
    /// Who can reach the service: programs of this machine, or whoever reaches the address, which
    /// is for a service behind a proxy that speaks HTTPS.
    enum class Reach { loopback, anyAddress };

    std::string address = "127.0.0.1"; ///< a literal address
    std::uint16_t port = 8787;         ///< 0 for any free port
    Reach reach = Reach::loopback;
};

/// Accepts connections and serves them on the one thread that runs `context`; work that takes
/// long belongs on other threads (WorkPool.h).
///
/// `listen` once; `stop` from any thread. The context runs out of work when the last connection
/// has ended, and the server must live until then.
class HttpServer {
public:
    /// The metrics must outlive the server, which adds its connections and bodies to them.
    HttpServer(boost::asio::io_context& context, Router router, ServerLimits limits, LogWriter log,
               ServerMetrics& metrics, ForwardedAddress forwarded = ForwardedAddress::ignored);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Binds and starts to accept. Throws ListenError: also for an address that is no loopback
    /// address where only such are allowed, since this service speaks plain HTTP.
    void listen(const ListenAddress& address);

    /// The port listened on, the chosen one when 0 was asked for.
    std::uint16_t port() const;

    /// Takes no further connection or request, lets requests at work finish within
    /// `ServerLimits::stop` and breaks off what is left then.
    void stop();

private:
    boost::asio::awaitable<void> acceptConnections();
    void start(boost::asio::ip::tcp::socket socket);
    void remove(const std::shared_ptr<HttpConnection>& connection);
    void beginStop();

    boost::asio::io_context& m_context;
    std::unique_ptr<ServerShared> m_shared;
    boost::asio::ip::tcp::acceptor m_acceptor;
    boost::asio::steady_timer m_stopTimer;
    std::set<std::shared_ptr<HttpConnection>> m_connections;
    std::uint16_t m_port = 0;
    bool m_isStopping = false;
};

} // namespace lumivane::service
