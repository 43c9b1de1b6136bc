#pragma once

#include "server/analysis/ChatEndpoint.h"
#include "server/work/MonotonicTime.h"

#include <boost/asio/awaitable.hpp>

#include <memory>
#include <optional>
#include <string>

namespace lumivane::service {

/// How one exchange with a model server ended.
struct ChatReply {
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

/// Sends one request for a completion.
class ChatTransport {
public:
    virtual ~ChatTransport() = default;

    /// Posts a JSON body. Does not throw but for the coroutine's own cancellation, which closes
    /// the connection, so that the model server can stop its work.
    virtual boost::asio::awaitable<ChatReply> post(std::string body, MonotonicTime deadline) = 0;
};

/// The transport over HTTP/1.1, with TLS and a check of certificate and host name where the
/// endpoint is secure. One connection per request; redirects are not followed; answers of more
/// than 2 MiB count as malformed. For the network thread alone.
std::unique_ptr<ChatTransport> makeHttpChatTransport(ChatEndpoint endpoint,
                                                     std::optional<std::string> apiKey);

} // namespace lumivane::service
