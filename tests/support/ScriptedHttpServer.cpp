#include "support/ScriptedHttpServer.h"

#include <QTcpSocket>

#include <sys/socket.h>

#include <algorithm>
#include <limits>

namespace lumivane::test {

using Then = ScriptedAnswer::Then;

std::vector<QByteArray> RecordedRequest::headerNames() const {
    std::vector<QByteArray> names;
    for (const auto& [name, value] : headers) {
        names.push_back(name);
    }
    return names;
}

std::optional<QByteArray> RecordedRequest::header(const QByteArray& name) const {
    for (const auto& [written, value] : headers) {
        if (written.compare(name, Qt::CaseInsensitive) == 0) {
            return value;
        }
    }
    return std::nullopt;
}

ScriptedAnswer
ScriptedAnswer::whole(int status, const QByteArray& body,
                      const std::vector<std::pair<QByteArray, QByteArray>>& headers) {
    QByteArray bytes = "HTTP/1.1 " + QByteArray::number(status) + " Status\r\n";
    for (const auto& [name, value] : headers) {
        bytes += name + ": " + value + "\r\n";
    }
    bytes += "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    return raw(bytes, Then::keepOpen);
}

ScriptedAnswer ScriptedAnswer::json(int status, const QByteArray& body) {
    return whole(status, body, {{"Content-Type", "application/json"}});
}

ScriptedAnswer ScriptedAnswer::redirect(int status, const QUrl& target) {
    return whole(status, {}, {{"Location", target.toEncoded()}});
}

ScriptedAnswer ScriptedAnswer::raw(const QByteArray& bytes, Then then) {
    ScriptedAnswer answer;
    answer.bytes = bytes;
    answer.then = then;
    return answer;
}

ScriptedAnswer ScriptedAnswer::stream(std::int64_t length) {
    ScriptedAnswer answer =
        raw("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(length) + "\r\n\r\n",
            Then::keepOpen);
    answer.fillerBytes = length;
    return answer;
}

ScriptedAnswer ScriptedAnswer::endlessChunks() {
    ScriptedAnswer answer =
        raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n", Then::keepOpen);
    answer.fillerBytes = std::numeric_limits<std::int64_t>::max();
    answer.isChunked = true;
    return answer;
}

ScriptedAnswer ScriptedAnswer::silent(Then then) { return raw({}, then); }

ScriptedAnswer ScriptedAnswer::held() const {
    ScriptedAnswer copy = *this;
    copy.isHeld = true;
    return copy;
}

ScriptedAnswer ScriptedAnswer::dripped() const {
    ScriptedAnswer copy = *this;
    copy.isDripped = true;
    return copy;
}

/// One peer: reads its requests one after another and plays their answers.
class ScriptedHttpServer::Connection {
public:
    Connection(ScriptedHttpServer& server, QTcpSocket* socket, int number)
        : m_server(server)
        , m_socket(socket)
        , m_number(number) {
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this] { readRequests(); });
        QObject::connect(socket, &QTcpSocket::bytesWritten, socket, [this] { sendFiller(); });
        QObject::connect(socket, &QTcpSocket::disconnected, socket, [this] { goAway(); });
    }

    ~Connection() {
        m_socket->disconnect();
        m_socket->abort();
        m_socket->deleteLater();
    }

    void release() {
        if (m_answer && std::exchange(m_answer->isHeld, false)) {
            play();
        }
    }

    void drip(qsizetype count) {
        if (m_answer && m_answer->isDripped) {
            m_socket->write(m_answer->bytes.left(count));
            m_answer->bytes.remove(0, count);
            if (m_answer->bytes.isEmpty()) {
                finish();
            }
        }
    }

    void close() { m_socket->disconnectFromHost(); }

private:
    void readRequests() {
        m_input += m_socket->readAll();
        while (!m_answer) {
            const qsizetype end = m_input.indexOf("\r\n\r\n");
            if (end < 0) {
                return;
            }
            RecordedRequest request = parseHead(m_input.left(end));
            const qsizetype length = request.header("Content-Length").value_or("0").toLongLong();
            if (m_input.size() < end + 4 + length) {
                return;
            }
            request.body = m_input.mid(end + 4, length);
            m_input.remove(0, end + 4 + length);
            const QByteArray path = request.line.split(' ').value(1);
            m_server.m_requests.push_back(request);
            m_answer = m_server.answerFor(path, request);
            play();
        }
    }

    RecordedRequest parseHead(const QByteArray& head) const {
        RecordedRequest request;
        request.connection = m_number;
        QByteArrayList lines = head.split('\n');
        for (QByteArray& line : lines) {
            if (line.endsWith('\r')) {
                line.chop(1);
            }
        }
        request.line = lines.takeFirst();
        for (const QByteArray& line : std::as_const(lines)) {
            const qsizetype colon = line.indexOf(':');
            request.headers.emplace_back(line.left(colon), line.mid(colon + 1).trimmed());
        }
        return request;
    }

    void play() {
        if (m_answer->isHeld || m_answer->isDripped) {
            return;
        }
        m_socket->write(m_answer->bytes);
        m_answer->bytes.clear();
        if (m_answer->fillerBytes > 0) {
            sendFiller();
        } else {
            finish();
        }
    }

    /// Keeps a little in the socket's buffer and no more, so that a peer that stops reading holds
    /// it up.
    void sendFiller() {
        constexpr std::int64_t piece = 65536;
        while (m_answer && m_answer->fillerBytes > 0 && !m_answer->isHeld &&
               m_socket->bytesToWrite() < piece) {
            const auto length = std::min(piece, m_answer->fillerBytes);
            const QByteArray filler(static_cast<qsizetype>(length), 'x');
            m_socket->write(m_answer->isChunked
                                ? QByteArray::number(length, 16) + "\r\n" + filler + "\r\n"
                                : filler);
            m_server.m_fillerSent += length;
            m_answer->fillerBytes -= length;
            if (m_answer->fillerBytes == 0) {
                finish();
            }
        }
    }

    void finish() {
        const Then then = m_answer->then;
        m_answer.reset();
        if (then == Then::reset) {
            m_socket->flush();
            const linger atOnce{.l_onoff = 1, .l_linger = 0};
            setsockopt(static_cast<int>(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER,
                       &atOnce, sizeof atOnce);
            m_socket->abort();
        } else if (then == Then::close) {
            m_socket->disconnectFromHost();
        }
    }

    void goAway() {
        // Later, since this runs inside the connection's own operations.
        QMetaObject::invokeMethod(
            &m_server.m_server,
            [&server = m_server, this] {
                std::erase_if(server.m_connections,
                              [this](const auto& each) { return each.get() == this; });
            },
            Qt::QueuedConnection);
    }

    ScriptedHttpServer& m_server;
    QTcpSocket* m_socket;
    int m_number;
    QByteArray m_input;
    std::optional<ScriptedAnswer> m_answer; ///< of the request that is being answered
};

ScriptedHttpServer::ScriptedHttpServer() {
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
        while (QTcpSocket* socket = m_server.nextPendingConnection()) {
            m_connections.push_back(
                std::make_unique<Connection>(*this, socket, ++m_connectionCount));
        }
    });
    if (!m_server.listen(QHostAddress::LocalHost)) {
        qFatal("no loopback port to listen on");
    }
}

ScriptedHttpServer::~ScriptedHttpServer() = default;

QString ScriptedHttpServer::baseURL() const { return u"http://127.0.0.1:%1"_qs.arg(port()); }

quint16 ScriptedHttpServer::port() const { return m_server.serverPort(); }

void ScriptedHttpServer::script(const QByteArray& path, ScriptedAnswer answer) {
    m_scripts[path].push_back(std::move(answer));
}

void ScriptedHttpServer::always(const QByteArray& path, ScriptedAnswer answer) {
    m_defaults[path] = std::move(answer);
}

void ScriptedHttpServer::answerBy(const QByteArray& path,
                                  std::function<ScriptedAnswer(const RecordedRequest&)> handler) {
    m_handlers[path] = std::move(handler);
}

ScriptedAnswer ScriptedHttpServer::answerFor(const QByteArray& path,
                                             const RecordedRequest& request) {
    auto& script = m_scripts[path];
    if (!script.empty()) {
        ScriptedAnswer answer = std::move(script.front());
        script.pop_front();
        return answer;
    }
    if (const auto handler = m_handlers.find(path); handler != m_handlers.end()) {
        return handler->second(request);
    }
    const auto found = m_defaults.find(path);
    return found != m_defaults.end() ? found->second : ScriptedAnswer::whole(404, {});
}

void ScriptedHttpServer::release() {
    for (const auto& connection : m_connections) {
        connection->release();
    }
}

void ScriptedHttpServer::drip(qsizetype count) {
    for (const auto& connection : m_connections) {
        connection->drip(count);
    }
}

void ScriptedHttpServer::closeConnections() {
    for (const auto& connection : m_connections) {
        connection->close();
    }
}

std::vector<RecordedRequest> ScriptedHttpServer::requestsFor(const QByteArray& path) const {
    std::vector<RecordedRequest> found;
    std::copy_if(
        m_requests.begin(), m_requests.end(), std::back_inserter(found),
        [&](const RecordedRequest& request) { return request.line.split(' ').value(1) == path; });
    return found;
}

} // namespace lumivane::test
