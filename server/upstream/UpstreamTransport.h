#pragma once

#include "server/upstream/UpstreamUrl.h"
#include "server/work/MonotonicTime.h"

#include <boost/asio/awaitable.hpp>

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

/// The transport over HTTP/1.1, with TLS and a check of certificate and host name where the
/// address is secure. One connection per request; redirects are not followed; answers of more
/// than 2 MiB count as malformed. For the network thread alone.
std::unique_ptr<UpstreamTransport> makeHttpUpstreamTransport();

} // namespace lumivane::service
