#include "server/analysis/ChatTransport.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/connect.hpp>
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
using Outcome = ChatReply::Outcome;

namespace {

constexpr std::uint64_t bodyLimit = 2 * 1024 * 1024;
constexpr std::uint32_t headerLimit = 32 * 1024;
constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);

using Request = http::request<http::string_body>;

// One exchange. It is closed from outside to end it early, whatever it waits for.
struct Call {
    Call(const asio::any_io_executor& executor, ssl::context& context)
        : resolver(executor)
        , stream(executor, context) {}

    void close() {
        resolver.cancel();
        error_code ignored;
        stream.next_layer().close(ignored);
    }

    tcp::resolver resolver;
    ssl::stream<tcp::socket> stream; // its next layer alone where there is no TLS
};

using CallPointer = std::shared_ptr<Call>;

ChatReply ended(Outcome outcome) {
    ChatReply reply;
    reply.outcome = outcome;
    return reply;
}

template <typename Stream>
asio::awaitable<ChatReply> talk(Stream& stream, Request request) {
    const auto [writeError, written] = co_await http::async_write(stream, request, asTuple);
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
    ChatReply reply;
    reply.outcome = Outcome::answered;
    reply.status = static_cast<int>(parser.get().result_int());
    reply.body = std::move(parser.get().body());
    co_return reply;
}

class HttpChatTransport : public ChatTransport {
public:
    HttpChatTransport(ChatEndpoint endpoint, std::optional<std::string> apiKey)
        : m_endpoint(std::move(endpoint))
        , m_apiKey(std::move(apiKey))
        , m_context(ssl::context::tls_client) {
        m_context.set_default_verify_paths();
        m_context.set_verify_mode(ssl::verify_peer);
    }

    asio::awaitable<ChatReply> post(std::string body, MonotonicTime deadline) override {
        const auto executor = co_await asio::this_coro::executor;
        const auto call = std::make_shared<Call>(executor, m_context);
        auto exchanging = exchange(call, makeRequest(std::move(body)));
        auto guarding = closeAt(call, deadline);
        auto race = std::move(exchanging) || std::move(guarding);
        std::variant<ChatReply, std::monostate> first = co_await std::move(race);
        if (first.index() == 1) {
            co_return ended(Outcome::timedOut);
        }
        co_return std::get<0>(std::move(first));
    }

private:
    Request makeRequest(std::string body) const {
        Request request(http::verb::post, m_endpoint.target, 11);
        request.set(http::field::host, m_endpoint.hostField());
        request.set(http::field::content_type, "application/json");
        request.set(http::field::accept, "application/json");
        request.set(http::field::user_agent, "lumivane-service");
        if (m_apiKey) {
            request.set(http::field::authorization, "Bearer " + *m_apiKey);
        }
        request.keep_alive(false);
        request.body() = std::move(body);
        request.prepare_payload();
        return request;
    }

    // Ends at the deadline, or when it is cancelled: at the end of the exchange, or because the
    // client has gone. The exchange itself might wait in a place that no cancellation reaches.
    static asio::awaitable<void> closeAt(CallPointer call, MonotonicTime deadline) {
        asio::steady_timer timer(call->resolver.get_executor());
        timer.expires_at(deadline);
        co_await timer.async_wait(asTuple);
        call->close();
    }

    asio::awaitable<bool> connect(CallPointer call) const {
        const std::string port = std::to_string(m_endpoint.port);
        const auto [resolveError, addresses] =
            co_await call->resolver.async_resolve(m_endpoint.host, port, asTuple);
        if (resolveError) {
            co_return false;
        }
        const auto [connectError, used] =
            co_await asio::async_connect(call->stream.next_layer(), addresses, asTuple);
        co_return !connectError;
    }

    asio::awaitable<Outcome> secure(CallPointer call) const {
        // An address is no server name, and the extension for names must not carry one.
        error_code notAnAddress;
        asio::ip::make_address(m_endpoint.host, notAnAddress);
        if (notAnAddress) {
            SSL_set_tlsext_host_name(call->stream.native_handle(), m_endpoint.host.c_str());
        }
        call->stream.set_verify_callback(ssl::host_name_verification(m_endpoint.host));
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
    asio::awaitable<ChatReply> exchange(CallPointer call, Request request) const {
        try {
            const bool isConnected = co_await connect(call);
            if (!isConnected) {
                co_return ended(Outcome::unreachable);
            }
            if (!m_endpoint.isSecure) {
                co_return co_await talk(call->stream.next_layer(), std::move(request));
            }
            const Outcome handshake = co_await secure(call);
            if (handshake != Outcome::answered) {
                co_return ended(handshake);
            }
            co_return co_await talk(call->stream, std::move(request));
        } catch (const boost::system::system_error&) {
        }
        co_return ended(Outcome::unreachable);
    }

    ChatEndpoint m_endpoint;
    std::optional<std::string> m_apiKey;
    ssl::context m_context;
};

} // namespace

std::unique_ptr<ChatTransport> makeHttpChatTransport(ChatEndpoint endpoint,
                                                     std::optional<std::string> apiKey) {
    return std::make_unique<HttpChatTransport>(std::move(endpoint), std::move(apiKey));
}

} // namespace lumivane::service
