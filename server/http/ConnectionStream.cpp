#include "server/http/ConnectionStream.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace lumivane::service {

namespace asio = boost::asio;

struct ConnectionStream::State {
    explicit State(asio::ip::tcp::socket connected)
        : socket(std::move(connected)) {}

    asio::ip::tcp::socket socket;
    std::uint64_t generation = 0; // tells an expiry of the present deadline from a late one
    bool expired = false;
};

ConnectionStream::ConnectionStream(asio::ip::tcp::socket socket)
    : m_state(std::make_shared<State>(std::move(socket)))
    , m_timer(m_state->socket.get_executor()) {
    boost::system::error_code ignored;
    m_state->socket.set_option(asio::ip::tcp::no_delay(true), ignored);
}

ConnectionStream::~ConnectionStream() { close(); }

void ConnectionStream::arm(std::chrono::milliseconds delay, AtDeadline action) {
    m_state->expired = false;
    const std::uint64_t generation = ++m_state->generation;
    m_timer.expires_after(delay);
    m_timer.async_wait(
        [weak = std::weak_ptr(m_state), generation, action](boost::system::error_code error) {
            const auto state = weak.lock();
            if (error || !state || state->generation != generation) {
                return;
            }
            state->expired = true;
            boost::system::error_code ignored;
            if (action == AtDeadline::close) {
                state->socket.close(ignored);
            } else {
                state->socket.cancel(ignored);
            }
        });
}

void ConnectionStream::disarm() {
    ++m_state->generation;
    m_state->expired = false;
    m_timer.cancel();
}

asio::awaitable<ReadResult> ConnectionStream::readSome(asio::mutable_buffer target) {
    ReadResult result;
    // The expiry may have come between two reads, when there was nothing to break off.
    if (!m_state->expired) {
        constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
        const auto [error, bytes] = co_await m_state->socket.async_read_some(target, asTuple);
        if (!error) {
            result.outcome = ReadResult::Outcome::data;
            result.bytes = bytes;
            co_return result;
        }
    }
    if (m_state->expired) {
        result.outcome = ReadResult::Outcome::timedOut;
    }
    co_return result;
}

void ConnectionStream::endSending() {
    boost::system::error_code ignored;
    m_state->socket.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
}

void ConnectionStream::close() {
    boost::system::error_code ignored;
    m_state->socket.close(ignored);
}

std::string ConnectionStream::remoteAddress() const {
    boost::system::error_code error;
    const auto endpoint = m_state->socket.remote_endpoint(error);
    return error ? std::string() : endpoint.address().to_string();
}

asio::ip::tcp::socket& ConnectionStream::socket() { return m_state->socket; }

} // namespace lumivane::service
