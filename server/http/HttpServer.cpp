#include "server/http/HttpServer.h"

#include "server/http/HttpConnection.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace lumivane::service {

namespace asio = boost::asio;
using boost::system::error_code;
using tcp = asio::ip::tcp;

namespace {

// A short pause when the process is out of file descriptors: some connection has to end first.
constexpr std::chrono::milliseconds acceptPause{50};

// Connections beyond the limit that are told so; any more are closed without a word.
constexpr std::size_t refusals = 64;

[[noreturn]] void failToListen(const ListenAddress& address, const error_code& error) {
    std::string message =
        "cannot listen on " + address.address + ":" + std::to_string(address.port) + ": ";
    message += error == asio::error::address_in_use ? "another program already listens there"
                                                    : error.message();
    throw ListenError(message);
}

tcp::endpoint endpointOf(const ListenAddress& address) {
    error_code error;
    const auto parsed = asio::ip::make_address(address.address, error);
    const bool isAnyAllowed = address.reach == ListenAddress::Reach::anyAddress;
    if (error && isAnyAllowed) {
        throw ListenError("cannot listen on " + address.address +
                          ": it must be an IP address such as 0.0.0.0");
    }
    if (error || (!isAnyAllowed && !parsed.is_loopback())) {
        throw ListenError("cannot listen on " + address.address +
                          ": only a loopback address such as 127.0.0.1 is allowed");
    }
    return {parsed, address.port};
}

} // namespace

HttpServer::HttpServer(asio::io_context& context, Router router, ServerLimits limits, LogWriter log,
                       ServerMetrics* metrics, ForwardedAddress forwarded)
    : m_context(context)
    , m_shared(std::make_unique<ServerShared>(ServerShared{
          std::move(router), limits, BodyBudget(limits.allBodyBytes, limits.keptForSmall),
          std::move(log), metrics != nullptr ? *metrics : m_ownMetrics, forwarded}))
    , m_acceptor(context)
    , m_stopTimer(context) {
    m_shared->metrics.addGauge("lumivane_http_connections", "Open connections.",
                               [this] { return static_cast<double>(m_connections.size()); });
    m_shared->metrics.addGauge("lumivane_http_body_bytes", "Bytes of request bodies at work.",
                               [this] { return static_cast<double>(m_shared->bodyBudget.used()); });
}

HttpServer::~HttpServer() = default;

void HttpServer::listen(const ListenAddress& address) {
    const tcp::endpoint endpoint = endpointOf(address);
    error_code error;
    m_acceptor.open(endpoint.protocol(), error);
    if (!error) {
        m_acceptor.set_option(asio::socket_base::reuse_address(true), error);
    }
    if (!error) {
        m_acceptor.bind(endpoint, error);
    }
    if (!error) {
        m_acceptor.listen(asio::socket_base::max_listen_connections, error);
    }
    if (error) {
        failToListen(address, error);
    }
    m_port = m_acceptor.local_endpoint().port();
    asio::co_spawn(m_context, acceptConnections(), asio::detached);
}

std::uint16_t HttpServer::port() const { return m_port; }

void HttpServer::stop() {
    asio::post(m_context, [this] { beginStop(); });
}

asio::awaitable<void> HttpServer::acceptConnections() {
    constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
    while (!m_isStopping) {
        auto [error, socket] = co_await m_acceptor.async_accept(asTuple);
        if (!error) {
            start(std::move(socket));
        } else if (!m_isStopping) {
            asio::steady_timer pause(m_context, acceptPause);
            co_await pause.async_wait(asTuple);
        }
    }
}

void HttpServer::start(tcp::socket socket) {
    const std::size_t limit = m_shared->limits.connections;
    const bool hasRoom = m_connections.size() < limit;
    if (m_connections.size() >= limit + refusals) {
        return;
    }
    const auto connection = std::make_shared<HttpConnection>(std::move(socket), *m_shared);
    m_connections.insert(connection);
    auto flow = hasRoom ? connection->run() : connection->runRefusal();
    auto ended = [this, connection](const std::exception_ptr&) { remove(connection); };
    asio::co_spawn(m_context, std::move(flow),
                   asio::bind_cancellation_slot(connection->cancellationSlot(), std::move(ended)));
}

void HttpServer::remove(const std::shared_ptr<HttpConnection>& connection) {
    m_connections.erase(connection);
    if (m_isStopping && m_connections.empty()) {
        m_stopTimer.cancel();
    }
}

void HttpServer::beginStop() {
    if (m_isStopping) {
        return;
    }
    m_isStopping = true;
    error_code ignored;
    m_acceptor.close(ignored);
    for (const auto& connection : m_connections) {
        connection->finishSoon();
    }
    if (m_connections.empty()) {
        return;
    }
    m_stopTimer.expires_after(m_shared->limits.stop);
    m_stopTimer.async_wait([this](error_code error) {
        if (error) {
            return;
        }
        // Breaking one off may end it on the spot and change the set that is walked.
        const auto left = m_connections;
        for (const auto& connection : left) {
            connection->abort();
        }
    });
}

} // namespace lumivane::service
