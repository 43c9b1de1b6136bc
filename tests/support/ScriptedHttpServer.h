#pragma once

#include <QByteArray>
#include <QTcpServer>
#include <QUrl>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane::test {

/// A request exactly as it came in.
struct RecordedRequest {
    QByteArray line;                                        ///< "POST /v1/analyze HTTP/1.1"
    std::vector<std::pair<QByteArray, QByteArray>> headers; ///< as written, in order
    QByteArray body;
    int connection = 0; ///< counts the server's connections from 1

    /// The names of the headers, in order.
    std::vector<QByteArray> headerNames() const;

    /// The value of a header, without regard to case; none when it is not there.
    std::optional<QByteArray> header(const QByteArray& name) const;
};

/// What the server does with one request.
struct ScriptedAnswer {
    enum class Then {
        keepOpen, ///< the connection waits for the next request
        close,    ///< an orderly end
        reset,    ///< the connection is torn down
    };

    QByteArray bytes;             ///< sent as they stand
    std::int64_t fillerBytes = 0; ///< sent behind them, as fast as the peer takes them
    bool isChunked = false;       ///< the filler goes out in chunks
    bool isHeld = false;          ///< nothing is sent before `release`
    bool isDripped = false;       ///< sent byte by byte with `drip`
    Then then = Then::keepOpen;

    /// A whole answer of this status with a content length and any further headers.
    static ScriptedAnswer whole(int status, const QByteArray& body,
                                const std::vector<std::pair<QByteArray, QByteArray>>& headers = {});

    static ScriptedAnswer json(int status, const QByteArray& body);
    static ScriptedAnswer redirect(int status, const QUrl& target);

    /// Exactly these bytes.
    static ScriptedAnswer raw(const QByteArray& bytes, Then then);

    /// A header that promises `length` bytes of body, of which as many follow as the peer takes.
    static ScriptedAnswer stream(std::int64_t length);

    /// The same in chunks, with no length promised and no end.
    static ScriptedAnswer endlessChunks();

    /// The connection ends after the request and nothing is sent.
    static ScriptedAnswer silent(Then then);

    /// This answer, held back until `release`.
    ScriptedAnswer held() const;

    /// This answer, sent only as `drip` says.
    ScriptedAnswer dripped() const;
};

/// An HTTP server on 127.0.0.1 that keeps every request byte for byte and answers as told. It works
/// on the event loop of the thread that makes it, so that loop has to turn for it to answer.
///
/// A request is answered by the next entry of the script of its path, then by what makes the
/// answers of its path, then by the default of its path, and else with 404.
class ScriptedHttpServer {
public:
    ScriptedHttpServer();
    ~ScriptedHttpServer();

    /// "http://127.0.0.1:PORT".
    QString baseURL() const;
    quint16 port() const;

    /// Answers the next request for `path` ("/healthz") that no earlier entry answers.
    void script(const QByteArray& path, ScriptedAnswer answer);

    /// Answers every request for `path` that finds its script empty.
    void always(const QByteArray& path, ScriptedAnswer answer);

    /// Makes the answer to every request for `path` that finds its script empty.
    void answerBy(const QByteArray& path,
                  std::function<ScriptedAnswer(const RecordedRequest&)> handler);

    /// Sends all answers that are held.
    void release();

    /// Sends the next `count` bytes of every dripped answer.
    void drip(qsizetype count);

    /// Closes connections that are open, as a server does with idle ones.
    void closeConnections();

    const std::vector<RecordedRequest>& requests() const { return m_requests; }

    /// The requests for one path.
    std::vector<RecordedRequest> requestsFor(const QByteArray& path) const;

    int connectionCount() const { return m_connectionCount; }

    int openConnections() const { return static_cast<int>(m_connections.size()); }

    /// How many bytes of filler went into the socket so far.
    std::int64_t fillerSent() const { return m_fillerSent; }

private:
    class Connection;

    ScriptedAnswer answerFor(const QByteArray& path, const RecordedRequest& request);

    QTcpServer m_server;
    std::vector<std::unique_ptr<Connection>> m_connections;
    std::map<QByteArray, std::deque<ScriptedAnswer>> m_scripts;
    std::map<QByteArray, std::function<ScriptedAnswer(const RecordedRequest&)>> m_handlers;
    std::map<QByteArray, ScriptedAnswer> m_defaults;
    std::vector<RecordedRequest> m_requests;
    int m_connectionCount = 0;
    std::int64_t m_fillerSent = 0;
};

} // namespace lumivane::test
