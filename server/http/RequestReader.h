#pragma once

#include "server/http/BodyBudget.h"
#include "server/http/ConnectionStream.h"
#include "server/http/HttpMessage.h"
#include "server/http/ServerLimits.h"

#include <boost/asio/awaitable.hpp>

#include <cstdint>
#include <memory>
#include <string>

namespace lumivane::service {

/// How reading one stage of a request ended.
enum class ReadEnd { complete, closed, timedOut, tooLarge, malformed, overBudget };

/// Reads the requests of one connection one after the other, within the limits. Bytes that
/// belong to a later request stay for that one, so clients may send several at once.
///
/// Order of use for each request: waitForFirstByte, readHead, readBody. For the network thread
/// alone; stream, limits and budget must outlive it.
class RequestReader {
public:
    RequestReader(ConnectionStream& stream, const ServerLimits& limits, BodyBudget& budget);
    ~RequestReader();
    RequestReader(const RequestReader&) = delete;
    RequestReader& operator=(const RequestReader&) = delete;

    /// False when the connection ended, or stayed idle for too long.
    boost::asio::awaitable<bool> waitForFirstByte();

    /// Ends in complete, closed, timedOut, tooLarge or malformed.
    boost::asio::awaitable<ReadEnd> readHead();

    /// The header last read in full.
    const RequestHead& head() const;

    /// Whether the client lets the connection stay for another request.
    bool keepsAlive() const;

    /// Whether part of the present request's body has still to come from the wire.
    bool isBodyOutstanding() const;

    /// The body's length as the header gives it; 0 when it gives none.
    std::uint64_t announcedBodyBytes() const;

    /// Whether the client holds its body back until told to go on.
    bool wantsContinue() const;

    /// Takes at most `limit` bytes. Ends in any of the set; takeBody hands out what was read.
    boost::asio::awaitable<ReadEnd> readBody(std::uint64_t limit);
    std::string takeBody();

    /// Gives the memory share of the present request back.
    void finishRequest();

    /// Returns when the client has closed its side or has sent so far ahead that its going away
    /// could not be seen any more; until then it keeps what arrives. Never throws. Meant to be
    /// cancelled.
    boost::asio::awaitable<void> watchForDisconnect();

    /// Throws away what still comes, until the client closes or the deadline passes.
    boost::asio::awaitable<void> discardRest();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace lumivane::service
