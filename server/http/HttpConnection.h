#pragma once

#include "server/http/ForwardedAddress.h"
#include "server/http/RequestLog.h"
#include "server/http/RequestReader.h"
#include "server/http/ResponseWriter.h"
#include "server/http/Router.h"
#include "server/http/ServerMetrics.h"
#include "server/work/MonotonicTime.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/cancellation_signal.hpp>

#include <memory>

namespace lumivane::service {

/// What all connections of one server share. Outlives them.
struct ServerShared {
    Router router;
    ServerLimits limits;
    BodyBudget bodyBudget;
    LogWriter log;
    ServerMetrics& metrics;
    ForwardedAddress forwarded = ForwardedAddress::ignored;
};

/// One client's connection: its requests, one after the other, until one side has had enough.
/// For the network thread alone.
class HttpConnection {
public:
    HttpConnection(boost::asio::ip::tcp::socket socket, ServerShared& shared);

    /// Serves to the end of the connection.
    boost::asio::awaitable<void> run();

    /// Answers with 503 whatever the client wants, since the server has no room for it.
    boost::asio::awaitable<void> runRefusal();

    /// No further request is taken: closes at once when idle, else after the present answer.
    void finishSoon();

    /// Breaks off everything, a handler at work included.
    void abort();

    /// To be bound to the coroutine that runs the connection.
    boost::asio::cancellation_slot cancellationSlot();

private:
    // What the connection is good for once a request has been answered.
    enum class Answered { another, closing, nothing };

    boost::asio::awaitable<bool> serveOne();
    boost::asio::awaitable<void> end();
    boost::asio::awaitable<std::optional<HttpResponse>> respond();
    boost::asio::awaitable<std::optional<HttpResponse>> respondToAdmitted(HttpRequest request);
    boost::asio::awaitable<std::optional<HttpResponse>> handle(HttpRequest request);
    std::optional<HttpResponse> failureOf(ReadEnd end, bool inBody);
    std::string clientAddress() const;
    boost::asio::awaitable<Answered> answerOne(MonotonicTime started);
    void report(int status, MonotonicTime started);

    ServerShared& m_shared;
    ConnectionStream m_stream;
    RequestReader m_reader;
    boost::asio::cancellation_signal m_cancel;
    const Route* m_route = nullptr;
    WorkLimiter::Place m_place;
    std::string m_requestId;
    HttpMethod m_method = HttpMethod::other;
    bool m_keepsAlive = false;
    bool m_isIdle = true;
    bool m_isFinishing = false;
};

} // namespace lumivane::service
