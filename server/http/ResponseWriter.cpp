#include "server/http/ResponseWriter.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

namespace lumivane::service {

namespace asio = boost::asio;
namespace http = boost::beast::http;

asio::awaitable<bool> writeResponse(ConnectionStream& stream, HttpResponse response,
                                    AnswerBody body, AfterAnswer after,
                                    std::chrono::milliseconds limit) {
    http::response<http::string_body> message;
    message.version(11);
    message.result(static_cast<unsigned>(response.status));
    const bool isBodyless = response.status == 204 || response.status == 304;
    if (!isBodyless && !response.body.empty()) {
        message.set(http::field::content_type, response.contentType);
    }
    message.set(http::field::cache_control, "no-store");
    message.set("X-Content-Type-Options", "nosniff");
    for (const auto& [field, value] : response.headers) {
        if (boost::beast::iequals(field, "Set-Cookie")) {
            message.insert(field, value);
        } else {
            message.set(field, value);
        }
    }
    message.keep_alive(after == AfterAnswer::keepOpen);
    if (!isBodyless) {
        message.content_length(response.body.size());
    }
    if (body == AnswerBody::sent && !isBodyless) {
        message.body() = std::move(response.body);
    }
    stream.arm(limit, ConnectionStream::AtDeadline::close);
    constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
    const auto [error, bytes] = co_await http::async_write(stream.socket(), message, asTuple);
    stream.disarm();
    co_return !error;
}

asio::awaitable<bool> writeContinue(ConnectionStream& stream, std::chrono::milliseconds limit) {
    static constexpr std::string_view line = "HTTP/1.1 100 Continue\r\n\r\n";
    stream.arm(limit, ConnectionStream::AtDeadline::close);
    constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
    const auto [error, bytes] =
        co_await asio::async_write(stream.socket(), asio::buffer(line), asTuple);
    stream.disarm();
    co_return !error;
}

} // namespace lumivane::service
