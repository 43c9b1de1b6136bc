#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace lumivane::service {

/// What a read brought: some bytes, or none and why.
struct ReadResult {
    enum class Outcome { data, ended, timedOut };

    Outcome outcome = Outcome::ended;
    std::size_t bytes = 0;
};

/// A connected socket with one deadline at a time. For the network thread alone.
class ConnectionStream {
public:
    /// What a passed deadline does. After a broken-off read the client can still be told why;
    /// a client that does not take its answer is left.
    enum class AtDeadline { breakOffRead, close };

    explicit ConnectionStream(boost::asio::ip::tcp::socket socket);
    ~ConnectionStream();
    ConnectionStream(const ConnectionStream&) = delete;
    ConnectionStream& operator=(const ConnectionStream&) = delete;

    /// Replaces the deadline: `delay` from now, for everything until the next arm or disarm.
    void arm(std::chrono::milliseconds delay, AtDeadline action);
    void disarm();

    /// One read of what has arrived, or the first bytes to arrive. The memory must outlive it.
    boost::asio::awaitable<ReadResult> readSome(boost::asio::mutable_buffer target);

    /// Says that no more will be sent, so that the client can read to the end.
    void endSending();

    /// Breaks off whatever waits on the socket.
    void close();

    /// The other side's address without its port; empty once the connection has broken.
    std::string remoteAddress() const;

    boost::asio::ip::tcp::socket& socket();

private:
    struct State;
    std::shared_ptr<State> m_state;
    boost::asio::steady_timer m_timer;
};

} // namespace lumivane::service
