#include "server/http/HttpConnection.h"

#include "server/http/ErrorEnvelope.h"
#include "server/http/RequestId.h"
#include "server/work/MonotonicTime.h"

#include <boost/asio/experimental/awaitable_operators.hpp>

#include <algorithm>

namespace lumivane::service {

namespace asio = boost::asio;
using namespace asio::experimental::awaitable_operators;

namespace {

// Whatever a handler throws ends here, so that the race against the client's going away always
// has a result and no text of an exception can reach a client.
asio::awaitable<HttpResponse> handleSafely(const Route& route, HttpRequest request,
                                           const LogWriter& log) {
    const std::string requestId = request.requestId;
    try {
        HttpResponse response = co_await route.handler(std::move(request));
        co_return response;
    } catch (const std::exception&) {
    }
    log("internal error route=" + route.name + " request_id=" + requestId);
    co_return route.refusalForm(internalFailure(), requestId);
}

} // namespace

HttpConnection::HttpConnection(asio::ip::tcp::socket socket, ServerShared& shared)
    : m_shared(shared)
    , m_stream(std::move(socket))
    , m_reader(m_stream, shared.limits, shared.bodyBudget) {}

asio::awaitable<void> HttpConnection::run() {
    bool goesOn = true;
    while (goesOn) {
        goesOn = co_await serveOne();
    }
    m_stream.close();
}

asio::awaitable<void> HttpConnection::runRefusal() {
    const MonotonicTime started = monotonicNow();
    m_requestId = makeRequestId();
    HttpResponse response =
        errorResponse(503, "too_many_connections",
                      "The service has too many connections. Try again shortly.", m_requestId);
    response.headers.emplace_back("Retry-After", "1");
    response.headers.emplace_back("X-Request-Id", m_requestId);
    report(response.status, started);
    const bool written = co_await writeResponse(m_stream, std::move(response), AnswerBody::sent,
                                                AfterAnswer::close, m_shared.limits.linger);
    if (written) {
        co_await end();
    }
    m_stream.close();
}

void HttpConnection::finishSoon() {
    m_isFinishing = true;
    if (m_isIdle) {
        m_stream.close();
    }
}

void HttpConnection::abort() {
    m_stream.close();
    m_cancel.emit(asio::cancellation_type::terminal);
}

asio::cancellation_slot HttpConnection::cancellationSlot() { return m_cancel.slot(); }

asio::awaitable<bool> HttpConnection::serveOne() {
    m_isIdle = true;
    const bool arrived = co_await m_reader.waitForFirstByte();
    if (!arrived || m_isFinishing) {
        co_return false;
    }
    m_isIdle = false;
    const MonotonicTime started = monotonicNow();
    m_route = nullptr;
    m_method = HttpMethod::other;
    m_keepsAlive = false;
    m_requestId = makeRequestId();
    Answered answered = Answered::nothing;
    try {
        answered = co_await answerOne(started);
    } catch (...) {
        // Broken off as a whole, as at a stop.
        report(0, started);
        throw;
    }
    m_reader.finishRequest();
    if (answered == Answered::closing) {
        co_await end();
    }
    co_return answered == Answered::another;
}

asio::awaitable<HttpConnection::Answered> HttpConnection::answerOne(MonotonicTime started) {
    std::optional<HttpResponse> response = co_await respond();
    m_place.reset();
    const int status = response ? response->status : 0;
    bool written = false;
    const bool keepsOpen = response && m_keepsAlive && !m_isFinishing;
    if (response) {
        response->headers.emplace_back("X-Request-Id", m_requestId);
        const auto after = keepsOpen ? AfterAnswer::keepOpen : AfterAnswer::close;
        const auto body = m_method == HttpMethod::head ? AnswerBody::leftOut : AnswerBody::sent;
        written = co_await writeResponse(m_stream, std::move(*response), body, after,
                                         m_shared.limits.write);
    }
    report(status, started);
    if (!written) {
        co_return Answered::nothing;
    }
    co_return keepsOpen ? Answered::another : Answered::closing;
}

void HttpConnection::report(int status, MonotonicTime started) {
    RequestLogEntry entry;
    entry.method = m_method;
    entry.routeName = m_route != nullptr ? std::string_view(m_route->name) : "none";
    entry.status = status;
    entry.duration =
        std::chrono::duration_cast<std::chrono::microseconds>(monotonicNow() - started);
    entry.requestId = m_requestId;
    m_shared.log(formatLogLine(entry));
    m_shared.metrics.countRequest(entry.routeName, status, entry.duration);
}

asio::awaitable<void> HttpConnection::end() {
    // Closing with bytes unread would reset the connection and could take the answer with it.
    m_stream.endSending();
    co_await m_reader.discardRest();
}

asio::awaitable<std::optional<HttpResponse>> HttpConnection::respond() {
    const ReadEnd end = co_await m_reader.readHead();
    if (end != ReadEnd::complete) {
        co_return failureOf(end, false);
    }
    m_method = m_reader.head().method;
    const std::string client = clientAddress();
    Admission admission = co_await m_shared.router.admit(m_reader.head(), m_requestId, client);
    m_route = admission.route;
    m_place = std::move(admission.place);
    if (admission.refusal) {
        m_keepsAlive = m_reader.keepsAlive() && !m_reader.isBodyOutstanding();
        co_return std::move(admission.refusal);
    }
    HttpRequest request;
    request.requestId = m_requestId;
    request.head = m_reader.head();
    request.principal = std::move(admission.principal);
    request.bearer = std::move(admission.bearer);
    request.pathParameter = std::move(admission.pathParameter);
    request.clientAddress = client;
    std::optional<HttpResponse> response = co_await respondToAdmitted(std::move(request));
    co_return response;
}

asio::awaitable<std::optional<HttpResponse>>
HttpConnection::respondToAdmitted(HttpRequest request) {
    if (m_route->bodyRule == BodyRule::none && m_reader.isBodyOutstanding()) {
        // Nobody can make an open route take in what it has no use for.
        std::optional<HttpResponse> early = co_await handle(std::move(request));
        co_return early;
    }
    const std::uint64_t limit = std::min(m_route->bodyBytes, m_shared.limits.bodyBytes);
    const bool sizeFits = m_reader.announcedBodyBytes() <= limit;
    if (sizeFits && m_reader.wantsContinue()) {
        const bool told = co_await writeContinue(m_stream, m_shared.limits.write);
        if (!told) {
            co_return std::nullopt;
        }
    }
    const ReadEnd end = co_await m_reader.readBody(limit);
    if (end != ReadEnd::complete) {
        co_return failureOf(end, true);
    }
    m_keepsAlive = m_reader.keepsAlive();
    request.body = m_reader.takeBody();
    std::optional<HttpResponse> response = co_await handle(std::move(request));
    co_return response;
}

asio::awaitable<std::optional<HttpResponse>> HttpConnection::handle(HttpRequest request) {
    auto answer = handleSafely(*m_route, std::move(request), m_shared.log);
    if (m_route->waiting == Waiting::brief) {
        std::optional<HttpResponse> response = co_await std::move(answer);
        co_return response;
    }
    auto watch = m_reader.watchForDisconnect();
    auto race = std::move(answer) || std::move(watch);
    std::variant<HttpResponse, std::monostate> first = co_await std::move(race);
    if (first.index() == 1) {
        m_stream.close();
        co_return std::nullopt;
    }
    co_return std::get<0>(std::move(first));
}

std::string HttpConnection::clientAddress() const {
    std::string peer = m_stream.remoteAddress();
    if (m_shared.forwarded == ForwardedAddress::ignored) {
        return peer;
    }
    return forwardedAddress(m_reader.head().forwardedFor).value_or(peer);
}

std::optional<HttpResponse> HttpConnection::failureOf(ReadEnd end, bool inBody) {
    switch (end) {
    case ReadEnd::timedOut:
        return errorResponse(408, "request_timeout", "The request took too long to arrive.",
                             m_requestId);
    case ReadEnd::tooLarge:
        return inBody ? errorResponse(413, "payload_too_large",
                                      "The request is larger than this address takes.", m_requestId)
                      : errorResponse(431, "header_too_large", "The request's header is too large.",
                                      m_requestId);
    case ReadEnd::malformed:
        return errorResponse(400, "bad_request", "The request is not well-formed HTTP.",
                             m_requestId);
    case ReadEnd::overBudget: {
        HttpResponse response = errorResponse(
            503, "busy", "The service is busy with other requests. Try again shortly.",
            m_requestId);
        response.headers.emplace_back("Retry-After", "1");
        return response;
    }
    case ReadEnd::complete:
    case ReadEnd::closed:
        break;
    }
    return std::nullopt;
}

} // namespace lumivane::service
