#include "platform/linux/SessionBusProbe.h"

#include <QByteArray>
#include <QList>
#include <QtGlobal>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>

namespace lumivane {

namespace {

constexpr const char* addressVariable = "DBUS_SESSION_BUS_ADDRESS";

/// Of the first socket that an address names; a leading NUL stands for an abstract one. None where
/// the address is of another kind, or where there is no bus.
std::optional<QByteArray> socketName() {
    const QByteArray address = qgetenv(addressVariable);
    if (address.isEmpty()) {
        const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
        return folder.isEmpty() ? std::nullopt : std::optional(folder + "/bus");
    }
    const QByteArray first = address.split(';').constFirst();
    if (!first.startsWith("unix:")) {
        return std::nullopt;
    }
    for (const QByteArray& part : first.mid(int(std::strlen("unix:"))).split(',')) {
        const qsizetype equals = part.indexOf('=');
        const QByteArray value = QByteArray::fromPercentEncoding(part.mid(equals + 1));
        if (part.startsWith("path=")) {
            return value;
        }
        if (part.startsWith("abstract=")) {
            return QByteArray(1, '\0') + value;
        }
    }
    return std::nullopt;
}

/// A descriptor that closes itself.
class Socket {
public:
    Socket()
        : m_descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {}

    ~Socket() {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
    }

    Q_DISABLE_COPY_MOVE(Socket)

    /// 0, or the number of the error.
    int connectTo(const QByteArray& name) const {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (name.isEmpty() || std::size_t(name.size()) >= sizeof address.sun_path) {
            return EINVAL;
        }
        std::memcpy(address.sun_path, name.constData(), std::size_t(name.size()));
        const auto length = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(name.size()) +
                                      (name[0] == '\0' ? 0 : 1));
        return ::connect(m_descriptor, reinterpret_cast<const sockaddr*>(&address), length) == 0
                   ? 0
                   : errno;
    }

    bool send(const QByteArray& bytes) const {
        return ::send(m_descriptor, bytes.constData(), std::size_t(bytes.size()), MSG_NOSIGNAL) ==
               bytes.size();
    }

    /// Whether the other side says anything, its end included.
    bool hears(std::chrono::milliseconds limit) const {
        pollfd waiting{m_descriptor, POLLIN, 0};
        return ::poll(&waiting, 1, int(limit.count())) != 0;
    }

private:
    int m_descriptor;
};

} // namespace

bool sessionBusHangs(std::chrono::milliseconds limit) {
    const auto name = socketName();
    if (!name) {
        return false;
    }
    const Socket bus;
    const int failure = bus.connectTo(*name);
    if (failure != 0) {
        return failure == EAGAIN; // nobody takes from its full queue
    }
    const QByteArray user = QByteArray::number(::getuid()).toHex();
    return bus.send(QByteArray(1, '\0') + "AUTH EXTERNAL " + user + "\r\n") && !bus.hears(limit);
}

void leaveSessionBus() { qputenv(addressVariable, "disabled:"); }

} // namespace lumivane
