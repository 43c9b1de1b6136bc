#include "server/upstream/NameResolver.h"
#include "server/upstream/UpstreamTransport.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

namespace lumivane::service {

namespace asio = boost::asio;
namespace http = boost::beast::http;
namespace ssl = asio::ssl;
using namespace asio::experimental::awaitable_operators;
using boost::system::error_code;
using tcp = asio::ip::tcp;
using Outcome = UpstreamReply::Outcome;

namespace {

constexpr std::uint64_t bodyLimit = 2 * 1024 * 1024;
constexpr std::uint32_t headerLimit = 32 * 1024;
constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);

using Request = http::request<http::string_body>;

// One exchange. Its connection is closed from outside to end it early.
struct Call {
    Call(const asio::any_io_executor& executor, ssl::context& context)
        : stream(executor, context) {}

    void close() {
        error_code ignored;
        stream.next_layer().close(ignored);
    }

    ssl::stream<tcp::socket> stream; // its next layer alone where there is no TLS
};

using CallPointer = std::shared_ptr<Call>;

UpstreamReply ended(Outcome outcome) {
    UpstreamReply reply;
    reply.outcome = outcome;
    return reply;
}

Request written(UpstreamRequest request) {
    const bool isPost = request.method == UpstreamRequest::Method::post;
    Request result(isPost ? http::verb::post : http::verb::get, request.url.target, 11);
    result.set(http::field::host, request.url.hostField());
    result.set(http::field::user_agent, "lumivane-service");
    for (const auto& [name, value] : request.headers) {
        result.set(name, value);
    }
    result.keep_alive(false);
    result.body() = std::move(request.body);
    result.prepare_payload();
    return result;
}

template <typename Stream>
asio::awaitable<UpstreamReply> talk(Stream& stream, Request request) {
    const auto [writeError, sent] = co_await http::async_write(stream, request, asTuple);
    if (writeError) {
        co_return ended(Outcome::unreachable);
    }
    boost::beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.header_limit(headerLimit);
    parser.body_limit(bodyLimit);
    const auto [readError, bytes] = co_await http::async_read(stream, buffer, parser, asTuple);
    // Many servers end without the closing handshake of TLS; what matters is a whole message.
    if (readError && !parser.is_done()) {
        const bool isParsing =
            readError.category() == make_error_code(http::error::end_of_stream).category() &&
            readError != http::error::end_of_stream && readError != http::error::partial_message;
        co_return ended(isParsing ? Outcome::malformed : Outcome::unreachable);
    }
    UpstreamReply reply;
    reply.outcome = Outcome::answered;
    reply.status = static_cast<int>(parser.get().result_int());
    reply.body = std::move(parser.get().body());
    co_return reply;
}

class HttpUpstreamTransport : public UpstreamTransport {
public:
    explicit HttpUpstreamTransport(UpstreamSettings settings)
        : m_context(ssl::context::tls_client)
        , m_resolver(std::move(settings.lookup))
        , m_connectAttempt(settings.connectAttempt) {
        m_context.set_default_verify_paths();
        m_context.set_verify_mode(ssl::verify_peer);
    }

    asio::awaitable<UpstreamReply> send(UpstreamRequest request, MonotonicTime deadline) override {
        const auto executor = co_await asio::this_coro::executor;
        const auto call = std::make_shared<Call>(executor, m_context);
        auto exchanging = exchange(call, std::move(request));
        auto guarding = closeAt(call, deadline);
        auto race = std::move(exchanging) || std::move(guarding);
        std::variant<UpstreamReply, std::monostate> first = co_await std::move(race);
        if (first.index() == 1) {
            co_return ended(Outcome::timedOut);
        }
        co_return std::get<0>(std::move(first));
    }

private:
    // Ends at the deadline, or when it is cancelled: at the end of the exchange, or because the
    // client has gone. The exchange itself might wait for its connection in a place that no
    // cancellation reaches.
    static asio::awaitable<void> closeAt(CallPointer call, MonotonicTime deadline) {
        asio::steady_timer timer(call->stream.get_executor());
        timer.expires_at(deadline);
        co_await timer.async_wait(asTuple);
        call->close();
    }

    asio::awaitable<bool> connect(CallPointer call, UpstreamUrl url) {
        auto resolving = m_resolver.resolve(std::move(url.host), url.port);
        const UpstreamAddresses found = co_await std::move(resolving);
        const UpstreamAddresses addresses = kindsByTurns(found);
        for (std::size_t index = 0; index < addresses.size(); ++index) {
            const bool isLast = index + 1 == addresses.size();
            auto attempt = isLast ? connectTo(call, addresses[index])
                                  : connectSoon(call, addresses[index], m_connectAttempt);
            const bool isConnected = co_await std::move(attempt);
            if (isConnected) {
                co_return true;
            }
            call->close();
        }
        co_return false;
    }

    static asio::awaitable<bool> connectTo(CallPointer call, tcp::endpoint address) {
        const auto [error] = co_await call->stream.next_layer().async_connect(address, asTuple);
        co_return !error;
    }

    static asio::awaitable<void> waitFor(std::chrono::milliseconds duration) {
        asio::steady_timer timer(co_await asio::this_coro::executor, duration);
        co_await timer.async_wait(asTuple);
    }

    static asio::awaitable<bool> connectSoon(CallPointer call, tcp::endpoint address,
                                             std::chrono::milliseconds patience) {
        auto connecting = connectTo(call, address);
        auto waiting = waitFor(patience);
        auto race = std::move(connecting) || std::move(waiting);
        const std::variant<bool, std::monostate> first = co_await std::move(race);
        co_return first.index() == 0 && std::get<0>(first);
    }

    static asio::awaitable<Outcome> secure(CallPointer call, std::string host) {
        // An address is no server name, and the extension for names must not carry one.
        error_code notAnAddress;
        asio::ip::make_address(host, notAnAddress);
        if (notAnAddress) {
            SSL_set_tlsext_host_name(call->stream.native_handle(), host.c_str());
        }
        call->stream.set_verify_callback(ssl::host_name_verification(host));
        const auto [error] =
            co_await call->stream.async_handshake(ssl::stream_base::client, asTuple);
        if (!error) {
            co_return Outcome::answered;
        }
        const bool isCertificate = error.category() == asio::error::get_ssl_category() &&
                                   ERR_GET_REASON(static_cast<unsigned long>(error.value())) ==
                                       SSL_R_CERTIFICATE_VERIFY_FAILED;
        co_return isCertificate ? Outcome::untrusted : Outcome::unreachable;
    }

    // Throws nothing, so that the race against the deadline always has a result.
    asio::awaitable<UpstreamReply> exchange(CallPointer call, UpstreamRequest request) {
        try {
            const bool isConnected = co_await connect(call, request.url);
            if (!isConnected) {
                co_return ended(Outcome::unreachable);
            }
            if (!request.url.isSecure) {
                co_return co_await talk(call->stream.next_layer(), written(std::move(request)));
            }
            const Outcome handshake = co_await secure(call, request.url.host);
            if (handshake != Outcome::answered) {
                co_return ended(handshake);
            }
            co_return co_await talk(call->stream, written(std::move(request)));
        } catch (const boost::system::system_error&) {
        }
        co_return ended(Outcome::unreachable);
    }

    ssl::context m_context;
    NameResolver m_resolver;
    std::chrono::milliseconds m_connectAttempt;
};

} // namespace

std::unique_ptr<UpstreamTransport> makeHttpUpstreamTransport(UpstreamSettings settings) {
    return std::make_unique<HttpUpstreamTransport>(std::move(settings));
}

} // namespace lumivane::service
