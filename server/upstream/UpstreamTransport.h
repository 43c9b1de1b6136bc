#pragma once

#include "server/upstream/UpstreamUrl.h"
#include "server/work/MonotonicTime.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace lumivane::service {

/// One request to another server. Host, length and connection are the transport's business.
struct UpstreamRequest {
    enum class Method { get, post };

    Method method = Method::get;
    UpstreamUrl url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
};

/// How one exchange with another server ended.
struct UpstreamReply {
    enum class Outcome {
        answered,    ///< status and body are there
        unreachable, ///< no connection, or it broke
        untrusted,   ///< the server's certificate does not prove who it is
        timedOut,
        malformed ///< no HTTP, or more than is read
    };

    Outcome outcome = Outcome::unreachable;
    int status = 0;
    std::string body;
};

/// Asks other servers.
class UpstreamTransport {
public:
    virtual ~UpstreamTransport() = default;

    /// Sends one request. Does not throw but for the coroutine's own cancellation, which closes
    /// the connection, so that the other server can stop its work.
    virtual boost::asio::awaitable<UpstreamReply> send(UpstreamRequest request,
                                                       MonotonicTime deadline) = 0;
};

using UpstreamAddresses = std::vector<boost::asio::ip::tcp::endpoint>;

/// Finds the addresses of a host, best first; none when it has none. It may block, and may throw.
/// Called on threads that nobody waits for, several at a time.
using NameLookup = std::function<UpstreamAddresses(const std::string& host, std::uint16_t port)>;

/// The lookup of the system, which a silent name server holds up for many seconds.
UpstreamAddresses systemNameLookup(const std::string& host, std::uint16_t port);

struct UpstreamSettings {
    NameLookup lookup = systemNameLookup;
    std::chrono::milliseconds connectAttempt{2'000}; ///< for each address but the last one
};

/// The transport over HTTP/1.1, with TLS and a check of certificate and host name where the
/// address is secure. One connection per request; redirects are not followed; answers of more
/// than 2 MiB count as malformed. A deadline and a cancellation end the exchange at once, whatever
/// it waits for. For the network thread alone.
std::unique_ptr<UpstreamTransport> makeHttpUpstreamTransport(UpstreamSettings settings = {});

} // namespace lumivane::service
