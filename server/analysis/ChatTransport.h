#pragma once

#include "server/analysis/ChatEndpoint.h"
#include "server/upstream/UpstreamTransport.h"

#include <boost/asio/awaitable.hpp>

#include <memory>
#include <optional>
#include <string>

namespace lumivane::service {

/// How one exchange with a model server ended.
using ChatReply = UpstreamReply;

/// Sends one request for a completion.
class ChatTransport {
public:
    virtual ~ChatTransport() = default;

    /// Posts a JSON body. Does not throw but for the coroutine's own cancellation, which closes
    /// the connection, so that the model server can stop its work.
    virtual boost::asio::awaitable<ChatReply> post(std::string body, MonotonicTime deadline) = 0;
};

/// The transport over `makeHttpUpstreamTransport`, with the key as bearer where there is one. For
/// the network thread alone.
std::unique_ptr<ChatTransport> makeHttpChatTransport(ChatEndpoint endpoint,
                                                     std::optional<std::string> apiKey);

} // namespace lumivane::service
