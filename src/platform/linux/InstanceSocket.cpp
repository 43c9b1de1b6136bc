#include "platform/linux/InstanceSocket.h"

#include "async/MainThread.h"
#include "platform/linux/InstanceRequest.h"
#include "platform/linux/OwnedDescriptor.h"

#include <QLocalSocket>
#include <QPointer>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

namespace lumivane {

namespace {

constexpr std::size_t maximumVisitors = 8;
constexpr std::chrono::seconds visitLimit{2};

/// The path through the folder's descriptor: it follows no link that somebody put up since, and it
/// fits however deep the folder lies.
std::optional<sockaddr_un> addressIn(int folder, const QByteArray& name) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(folder) + '/' + name;
    if (std::size_t(path.size()) >= sizeof address.sun_path) {
        return std::nullopt;
    }
    std::memcpy(address.sun_path, path.constData(), std::size_t(path.size()));
    return address;
}

const sockaddr* plain(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

OwnedDescriptor streamSocket() {
    return OwnedDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

bool isOfSameUser(int descriptor) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           peer.uid == ::geteuid();
}

/// Whether the socket became ready before the deadline.
bool awaitSocket(int descriptor, short events, const Clock& clock, MonotonicInstant deadline) {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(deadline - clock.now());
    pollfd waiting{descriptor, events, 0};
    return ::poll(&waiting, 1, int(std::max(left, milliseconds::zero()).count())) > 0;
}

/// None once all is sent, else why not.
std::optional<InstanceAnswer> sendAll(int socket, QByteArrayView bytes, const Clock& clock,
                                      MonotonicInstant deadline) {
    while (!bytes.isEmpty()) {
        const ssize_t sent = ::send(socket, bytes.data(), std::size_t(bytes.size()), MSG_NOSIGNAL);
        if (sent > 0) {
            bytes = bytes.sliced(sent);
        } else if (errno != EAGAIN) {
            return InstanceAnswer::absent;
        } else if (!awaitSocket(socket, POLLOUT, clock, deadline)) {
            return InstanceAnswer::silent;
        }
    }
    return std::nullopt;
}

InstanceAnswer awaitAnswer(int socket, const Clock& clock, MonotonicInstant deadline) {
    if (!awaitSocket(socket, POLLIN, clock, deadline)) {
        return InstanceAnswer::silent;
    }
    char answer = 0;
    if (::recv(socket, &answer, 1, 0) != 1) {
        return InstanceAnswer::absent;
    }
    return answer == InstanceRequest::accepted ? InstanceAnswer::accepted : InstanceAnswer::refused;
}

} // namespace

InstanceSocket::InstanceSocket(Clock& clock, Handler onRequest)
    : m_clock(clock)
    , m_onRequest(std::move(onRequest)) {
    connect(&m_server, &QLocalServer::newConnection, this, &InstanceSocket::accept);
}

InstanceSocket::~InstanceSocket() {
    for (const auto& [visitor, limit] : m_visitors) {
        visitor->disconnect(this);
    }
}

bool InstanceSocket::listen(int folder, const QString& name) {
    // Under a name of its own first: whoever finds the final name finds somebody who listens.
    const QByteArray finalName = name.toLatin1();
    const QByteArray ownName = finalName + '.' + QByteArray::number(::getpid());
    const auto address = addressIn(folder, ownName);
    OwnedDescriptor listener = streamSocket();
    if (!address || !listener) {
        return false;
    }
    ::unlinkat(folder, ownName.constData(), 0);
    if (::bind(listener.get(), plain(*address), sizeof *address) != 0 ||
        ::fchmodat(folder, ownName.constData(), S_IRUSR | S_IWUSR, 0) != 0 ||
        ::listen(listener.get(), SOMAXCONN) != 0 ||
        ::renameat(folder, ownName.constData(), folder, finalName.constData()) != 0) {
        ::unlinkat(folder, ownName.constData(), 0);
        return false;
    }
    return m_server.listen(qintptr(listener.take()));
}

void InstanceSocket::accept() {
    while (QLocalSocket* visitor = m_server.nextPendingConnection()) {
        connect(visitor, &QLocalSocket::disconnected, visitor, &QObject::deleteLater);
        if (m_visitors.size() >= maximumVisitors ||
            !isOfSameUser(int(visitor->socketDescriptor()))) {
            visitor->abort();
            visitor->deleteLater();
            continue;
        }
        m_visitors[visitor] = m_clock.after(visitLimit, [visitor] { visitor->abort(); });
        connect(visitor, &QObject::destroyed, this, [this, visitor] { m_visitors.erase(visitor); });
        visitor->setReadBufferSize(InstanceRequest::maximumBytes + 1);
        connect(visitor, &QLocalSocket::readyRead, this, [this, visitor] { read(*visitor); });
        read(*visitor);
    }
}

void InstanceSocket::read(QLocalSocket& visitor) {
    const auto request = InstanceRequest::decode(visitor.peek(InstanceRequest::maximumBytes));
    if (std::holds_alternative<InstanceRequest::Incomplete>(request)) {
        return;
    }
    const auto* urls = std::get_if<QStringList>(&request);
    answer(visitor, urls != nullptr ? InstanceRequest::accepted : InstanceRequest::refused);
    if (urls != nullptr) {
        postToMainThread([guard = QPointer(this), urls = *urls] {
            if (guard) {
                const Handler copy = guard->m_onRequest; // it may destroy the socket
                copy(urls);
            }
        });
    }
}

void InstanceSocket::answer(QLocalSocket& visitor, char answer) {
    QObject::disconnect(&visitor, &QLocalSocket::readyRead, this, nullptr);
    visitor.write(&answer, 1);
    visitor.disconnectFromServer();
}

InstanceAnswer knock(int folder, const QString& name, const QByteArray& request, const Clock& clock,
                     MonotonicInstant deadline) {
    const auto address = addressIn(folder, name.toLatin1());
    const OwnedDescriptor socket = streamSocket();
    if (!address || !socket) {
        return InstanceAnswer::absent;
    }
    if (::connect(socket.get(), plain(*address), sizeof *address) != 0) {
        // A full queue is one from which nobody takes.
        return errno == EAGAIN ? InstanceAnswer::silent : InstanceAnswer::absent;
    }
    if (!isOfSameUser(socket.get())) {
        return InstanceAnswer::absent;
    }
    const auto failure = sendAll(socket.get(), request, clock, deadline);
    return failure ? *failure : awaitAnswer(socket.get(), clock, deadline);
}

} // namespace lumivane
