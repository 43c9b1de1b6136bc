#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lumivane::service {

/// The address of another server cannot be used. `what()` says why and does not repeat it.
class UpstreamUrlError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Where to ask another server for something.
struct UpstreamUrl {
    bool isSecure = true;
    std::string host; ///< without the brackets of an IPv6 literal, in lower case
    std::uint16_t port = 443;
    std::string target; ///< path and query, beginning with "/"

    bool operator==(const UpstreamUrl&) const = default;

    /// What goes into the Host header: a port only where it is not the scheme's own.
    std::string hostField() const;
};

/// Takes https to any host, and plain http to 127.0.0.1, localhost and ::1 only, since screens,
/// keys and codes travel there; no user, query or fragment. Throws UpstreamUrlError.
UpstreamUrl parseUpstreamUrl(std::string_view text);

/// Whether `host`, without brackets and in lower case, names this machine.
bool isLoopbackHost(std::string_view host);

} // namespace lumivane::service
