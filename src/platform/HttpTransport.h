#pragma once

#include <QByteArray>
#include <QUrl>
#include <qcoro/qcorotask.h>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <stop_token>
#include <utility>
#include <vector>

namespace lumivane {

/// One request. Header names and values go out as they stand, in this order.
struct HttpRequest {
    QByteArray method;
    QUrl url;
    std::vector<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
    std::chrono::milliseconds timeout{};   ///< from sending to the last byte of the answer
    std::int64_t maximumResponseBytes = 0; ///< a longer body fails with `bodyTooLarge`
};

/// One answer, whatever its status; redirects are answers too.
struct HttpResponse {
    bool isHttp = true; ///< false when the peer answered with something that is not HTTP
    int status = 0;
    QByteArray body;
};

/// The transfer failed. `code` is the transport's own number.
class TransportError : public std::runtime_error {
public:
    enum class Kind { cancelled, timedOut, bodyTooLarge, failed };

    TransportError(Kind kind, std::int64_t code)
        : std::runtime_error("The connection failed.")
        , kind(kind)
        , code(code) {}

    Kind kind;
    std::int64_t code;
};

/// Sends requests without cookies, caches, stored credentials or redirects, and without touching
/// the disk. Main thread only; several requests may be under way.
class HttpTransport {
public:
    virtual ~HttpTransport() = default;

    /// Ends with the answer, with TransportError, or with Cancelled once a stop is requested,
    /// which ends the transfer as well.
    virtual QCoro::Task<HttpResponse> send(HttpRequest request, std::stop_token stop) = 0;
};

} // namespace lumivane
