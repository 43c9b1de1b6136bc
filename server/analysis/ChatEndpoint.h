#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lumivane::service {

/// The address of a model server cannot be used. `what()` says why and does not repeat it.
class ChatEndpointError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Where chat completions are asked for.
struct ChatEndpoint {
    bool isSecure = true;
    std::string host; ///< without the brackets of an IPv6 literal
    std::uint16_t port = 443;
    std::string target; ///< path of the completions form

    bool operator==(const ChatEndpoint&) const = default;

    /// What goes into the Host header: a port only where it is not the scheme's own.
    std::string hostField() const;
};

/// Takes "https://models.example.org", the same with a prefix or ending in "/v1" or in
/// "/v1/chat/completions". Plain http only to 127.0.0.1, localhost and ::1, since screens and keys
/// travel there; no user, query or fragment. Throws ChatEndpointError.
ChatEndpoint parseChatEndpoint(std::string_view baseUrl);

} // namespace lumivane::service
