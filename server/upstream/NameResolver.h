#pragma once

#include "server/upstream/UpstreamTransport.h"

#include <boost/asio/awaitable.hpp>

#include <cstdint>
#include <memory>
#include <string>

namespace lumivane::service {

/// Looks names up on a few threads of its own, since a lookup that has begun cannot be broken off:
/// one that a silent name server holds up keeps neither the caller nor other lookups waiting, nor
/// the end of the process. For the network thread alone.
class NameResolver {
public:
    explicit NameResolver(NameLookup lookup);

    /// Does not wait for lookups that have begun.
    ~NameResolver();
    NameResolver(const NameResolver&) = delete;
    NameResolver& operator=(const NameResolver&) = delete;

    /// The host's addresses; none when it has none or the lookup failed. A literal address is not
    /// looked up. Cancelling the coroutine leaves the lookup to itself.
    boost::asio::awaitable<UpstreamAddresses> resolve(std::string host, std::uint16_t port);

private:
    struct Asking;
    struct Lookup;
    struct Queue;

    std::shared_ptr<Queue> m_queue;
};

/// The same addresses, those of IPv4 and of IPv6 by turns, so that a dead road of one kind costs a
/// single attempt.
UpstreamAddresses kindsByTurns(const UpstreamAddresses& addresses);

} // namespace lumivane::service
