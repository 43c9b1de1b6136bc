#include "platform/linux/QtHttpTransport.h"

#include "async/Cancelled.h"
#include "async/Completion.h"

#include <QIODevice>
#include <QNetworkAccessManager>
#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QObject>

#include <algorithm>
#include <cstring>
#include <functional>
#include <optional>
#include <set>
#include <utility>

namespace lumivane {

namespace {

using Kind = TransportError::Kind;
using NetworkError = QNetworkReply::NetworkError;

/// Takes no cookies and gives none.
class NoCookies final : public QNetworkCookieJar {
public:
    QList<QNetworkCookie> cookiesForUrl(const QUrl&) const override { return {}; }

    bool setCookiesFromUrl(const QList<QNetworkCookie>&, const QUrl&) override { return false; }
};

/// A body that is not sent twice. The library would silently send a body it can rewind again when
/// a connection ends without an answer, although the peer may have acted on it already.
class OneTimeBody final : public QIODevice {
public:
    OneTimeBody(QByteArray bytes, std::function<bool()> mayRewind)
        : m_bytes(std::move(bytes))
        , m_mayRewind(std::move(mayRewind)) {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    bool isSequential() const override { return true; }

    bool reset() override {
        const bool rewinds = m_mayRewind();
        m_position = rewinds ? 0 : m_position;
        return rewinds;
    }

    bool atEnd() const override { return m_position == m_bytes.size(); }

    qint64 bytesAvailable() const override {
        return m_bytes.size() - m_position + QIODevice::bytesAvailable();
    }

protected:
    qint64 readData(char* data, qint64 maximum) override {
        if (atEnd()) {
            return -1;
        }
        const qint64 length = std::min<qint64>(maximum, m_bytes.size() - m_position);
        std::memcpy(data, m_bytes.constData() + m_position, static_cast<std::size_t>(length));
        m_position += length;
        return length;
    }

    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_bytes;
    std::function<bool()> m_mayRewind;
    qsizetype m_position = 0;
};

/// A line break in a header would start another header.
bool isSendable(const HttpRequest& request) {
    const auto breaks = [](const QByteArray& text) {
        return text.contains('\r') || text.contains('\n') || text.contains('\0');
    };
    const bool isHttp = request.url.scheme() == u"http" || request.url.scheme() == u"https";
    return isHttp && !request.url.host().isEmpty() && request.url.userInfo().isEmpty() &&
           std::none_of(request.headers.begin(), request.headers.end(), [&](const auto& header) {
               return header.first.isEmpty() || breaks(header.first) || breaks(header.second);
           });
}

bool mayGoWithoutBody(const HttpRequest& request) {
    return request.body.isEmpty() && request.method == "GET";
}

QNetworkRequest networkRequest(const HttpRequest& request) {
    QNetworkRequest result(request.url);
    // Without these the library fills in its own, which tell the user's language and more.
    result.setRawHeader("User-Agent", "Lumivane");
    result.setRawHeader("Accept-Encoding", "identity");
    result.setRawHeader("Accept-Language", "*");
    result.setRawHeader("Connection", "close");
    for (const auto& [name, value] : request.headers) {
        result.setRawHeader(name, value);
    }
    if (!mayGoWithoutBody(request)) {
        result.setHeader(QNetworkRequest::ContentLengthHeader, request.body.size());
    }
    result.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    result.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                        QNetworkRequest::ManualRedirectPolicy);
    result.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    result.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    result.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    result.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    result.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    return result;
}

/// The library reports failing statuses as errors too; their answers are answers all the same.
bool comesFromStatus(NetworkError error, int status) {
    constexpr int firstFailing = 400;
    const bool isOfClient = error >= QNetworkReply::ContentAccessDenied &&
                            error <= QNetworkReply::UnknownContentError &&
                            error != QNetworkReply::ContentReSendError;
    const bool isOfServer =
        error >= QNetworkReply::InternalServerError && error <= QNetworkReply::UnknownServerError;
    const bool isOther = error == QNetworkReply::ProxyAuthenticationRequiredError ||
                         error == QNetworkReply::ProtocolInvalidOperationError;
    return status >= firstFailing && (isOfClient || isOfServer || isOther);
}

} // namespace

struct QtHttpTransport::UnderWay {
    std::set<Transfer*> transfers;
};

/// One request from its first byte to its end. It goes when the flow that waits for it has
/// resumed, and takes the connection with it.
class QtHttpTransport::Transfer {
public:
    Transfer(const HttpRequest& request, Clock& clock, std::shared_ptr<UnderWay> underWay)
        : m_limit(request.maximumResponseBytes)
        , m_body(request.body, [this] { return hasAnswer(); })
        , m_underWay(std::move(underWay)) {
        m_underWay->transfers.insert(this);
        m_network.setProxy(QNetworkProxy::NoProxy);
        m_network.setCookieJar(new NoCookies); // owned by the manager
        m_timeout = clock.after(request.timeout,
                                [this] { fail(Kind::timedOut, QNetworkReply::TimeoutError); });
        start(request);
    }

    ~Transfer() {
        m_underWay->transfers.erase(this);
        stop();
    }

    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    Completion<HttpResponse>::Awaiter wait(std::stop_token stop) const {
        return m_finished.wait(std::move(stop));
    }

    void fail(Kind kind, NetworkError code) {
        m_finished.failWith(TransportError(kind, code));
        stop();
    }

private:
    void start(const HttpRequest& request) {
        QIODevice* body = mayGoWithoutBody(request) ? nullptr : &m_body;
        m_reply.reset(m_network.sendCustomRequest(networkRequest(request), request.method, body));
        // The library reads this far ahead of us and no further.
        constexpr qint64 readAhead = qint64{256} * 1024;
        m_reply->setReadBufferSize(readAhead);
        QObject::connect(m_reply.get(), &QNetworkReply::metaDataChanged, &m_listener,
                         [this] { checkAnnouncedLength(); });
        QObject::connect(m_reply.get(), &QNetworkReply::readyRead, &m_listener,
                         [this] { readBody(); });
        QObject::connect(m_reply.get(), &QNetworkReply::finished, &m_listener,
                         [this] { finish(); });
    }

    /// Some redirects make the library rewind the body although nobody follows them, and would fail
    /// where it cannot; without an answer, rewinding means to send again.
    bool hasAnswer() const { return m_reply && statusAttribute().isValid(); }

    QVariant statusAttribute() const {
        return m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    }

    void checkAnnouncedLength() {
        const auto length = announcedLength();
        if (length && *length > m_limit) {
            failTooLarge();
        }
    }

    std::optional<qint64> announcedLength() const {
        const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
        return length.isValid() ? std::optional(length.toLongLong()) : std::nullopt;
    }

    void readBody() {
        m_received += m_reply->readAll();
        if (m_received.size() > m_limit) {
            failTooLarge();
        }
    }

    void failTooLarge() { fail(Kind::bodyTooLarge, QNetworkReply::UnknownContentError); }

    void finish() {
        readBody();
        if (m_isStopped) {
            return;
        }
        const QVariant attribute = statusAttribute();
        const int status = attribute.toInt();
        const NetworkError error = m_reply->error();
        if (error != QNetworkReply::NoError && !comesFromStatus(error, status)) {
            fail(Kind::failed, error);
            return;
        }
        // Of a failing status the library does not say that its body broke off.
        if (isCutShort(status)) {
            fail(Kind::failed, QNetworkReply::RemoteHostClosedError);
            return;
        }
        HttpResponse response;
        response.isHttp = attribute.isValid();
        response.status = status;
        response.body = std::move(m_received);
        m_finished.resolve(std::move(response));
        stop();
    }

    bool isCutShort(int status) const {
        constexpr int noContent = 204;
        constexpr int notModified = 304;
        const auto length = announcedLength();
        return status != noContent && status != notModified && length &&
               m_received.size() < *length;
    }

    /// Ends the connection and the timer. Nothing calls back afterwards.
    void stop() {
        if (std::exchange(m_isStopped, true)) {
            return;
        }
        m_timeout.reset();
        m_received.clear();
        m_reply->disconnect(&m_listener);
        m_reply->abort();
    }

    qint64 m_limit;
    bool m_isStopped = false;
    QByteArray m_received;
    OneTimeBody m_body;
    QNetworkAccessManager m_network;
    QObject m_listener; ///< the library's own connections to the reply stay as they are
    std::unique_ptr<QNetworkReply> m_reply;
    std::unique_ptr<ClockTimer> m_timeout;
    std::shared_ptr<UnderWay> m_underWay;
    Completion<HttpResponse> m_finished;
};

QtHttpTransport::QtHttpTransport(Clock& clock)
    : m_clock(clock)
    , m_underWay(std::make_shared<UnderWay>()) {}

QtHttpTransport::~QtHttpTransport() {
    for (Transfer* transfer : m_underWay->transfers) {
        transfer->fail(Kind::cancelled, QNetworkReply::OperationCanceledError);
    }
}

QCoro::Task<HttpResponse> QtHttpTransport::send(HttpRequest request, std::stop_token stop) {
    throwIfStopped(stop);
    if (!isSendable(request)) {
        throw TransportError(Kind::failed, QNetworkReply::ProtocolInvalidOperationError);
    }
    const Transfer transfer(request, m_clock, m_underWay);
    request.body.clear();
    co_return co_await transfer.wait(stop);
}

} // namespace lumivane
