#pragma once

#include "async/Clock.h"
#include "platform/HttpTransport.h"

#include <memory>

namespace lumivane {

/// HTTP by the toolkit's network library. Main thread.
///
/// Every request has a connection of its own that closes with it: nothing of one request, be it a
/// cookie, a login or a broken connection, can be met by the next. A request goes out once, but
/// for one without a body, which the library itself may repeat when the connection ends early.
///
/// Any method but HEAD. Besides what the request carries, "Host", "Content-Length" (but for a GET
/// without a body), "User-Agent: Lumivane", "Accept-Encoding: identity", "Accept-Language: *" and
/// "Connection: close" are sent. Bodies are read as they come and never beyond the request's limit.
///
/// It may go while requests are under way; they end with TransportError of the kind `cancelled`.
class QtHttpTransport final : public HttpTransport {
public:
    /// `clock` measures time-outs and must outlive the transport.
    explicit QtHttpTransport(Clock& clock);
    ~QtHttpTransport() override;

    /// The code of a TransportError is the library's own (QNetworkReply::NetworkError).
    QCoro::Task<HttpResponse> send(HttpRequest request, std::stop_token stop) override;

private:
    class Transfer;
    struct UnderWay;

    Clock& m_clock;
    std::shared_ptr<UnderWay> m_underWay; ///< shared with the requests, which may end later
};

} // namespace lumivane
