#include "server/upstream/UpstreamTransport.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include <cstdint>
#include <cstdlib>

using namespace lumivane::service;
namespace asio = boost::asio;

namespace {

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// Another server on loopback, and the transport that asks it; both on the fuzzer's own thread.
class Target {
public:
    Target()
        : m_acceptor(m_context, {asio::ip::make_address("127.0.0.1"), std::uint16_t{0}})
        , m_transport(makeHttpUpstreamTransport()) {}

    UpstreamReply replyTo(std::string bytes) {
        UpstreamRequest request;
        request.url.isSecure = false;
        request.url.host = "127.0.0.1";
        request.url.port = m_acceptor.local_endpoint().port();
        request.url.target = "/";
        UpstreamReply reply;
        auto done = [&reply](const std::exception_ptr& failure, UpstreamReply given) {
            require(!failure);
            reply = std::move(given);
        };
        asio::co_spawn(m_context, serve(std::move(bytes)), asio::detached);
        asio::co_spawn(m_context, m_transport->send(std::move(request), monotonicNow() + patience),
                       done);
        m_context.restart();
        m_context.run();
        return reply;
    }

private:
    static constexpr std::chrono::seconds patience{5};

    asio::awaitable<void> serve(std::string bytes) {
        asio::ip::tcp::socket client = co_await m_acceptor.async_accept(asio::use_awaitable);
        std::string request;
        co_await asio::async_read_until(client, asio::dynamic_buffer(request), "\r\n\r\n", asTuple);
        co_await asio::async_write(client, asio::buffer(bytes), asTuple);
        boost::system::error_code ignored;
        client.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
        char scrap = 0;
        co_await client.async_read_some(asio::buffer(&scrap, 1), asTuple);
    }

    asio::io_context m_context{1};
    asio::ip::tcp::acceptor m_acceptor;
    std::unique_ptr<UpstreamTransport> m_transport;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static Target target;
    const UpstreamReply reply = target.replyTo({reinterpret_cast<const char*>(bytes), size});
    const bool isAnswered = reply.outcome == UpstreamReply::Outcome::answered;
    require(reply.outcome != UpstreamReply::Outcome::timedOut);
    require(isAnswered ? reply.status > 0 && reply.status < 1000 : reply.status == 0);
    require(isAnswered || reply.body.empty());
    require(reply.body.size() <= size);
    return 0;
}
