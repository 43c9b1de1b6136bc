#include "platform/linux/SessionBusProbe.h"

#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

namespace lumivane::test {

using namespace std::chrono_literals;

class SessionBusProbe : public testing::Test {
protected:
    SessionBusProbe()
        : m_before(qgetenv(variable)) {}

    ~SessionBusProbe() override {
        qputenv(variable, m_before);
        if (m_listener >= 0) {
            ::close(m_listener);
        }
    }

    /// Somebody who takes connections and never says a word.
    QByteArray listenInSilence() {
        QByteArray path = m_folder.filePath(u"bus"_qs).toUtf8();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.constData(), sizeof address.sun_path - 1);
        m_listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_listener, 8), 0);
        return path;
    }

    static constexpr const char* variable = "DBUS_SESSION_BUS_ADDRESS";
    QTemporaryDir m_folder;
    QByteArray m_before;
    int m_listener = -1;
};

TEST_F(SessionBusProbe, ABusThatAnswersDoesNotHang) {
    PrivateBus bus;
    qputenv(variable, bus.environment().value(QString::fromLatin1(variable)).toUtf8());
    EXPECT_FALSE(sessionBusHangs(20s));
}

TEST_F(SessionBusProbe, ABusThatNeverAnswersHangs) {
    qputenv(variable, "unix:path=" + listenInSilence() + ",guid=00");
    EXPECT_TRUE(sessionBusHangs(50ms));
}

TEST_F(SessionBusProbe, WithoutAnAddressTheUsualPlaceCounts) {
    const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
    listenInSilence();
    qputenv(variable, "");
    qputenv("XDG_RUNTIME_DIR", m_folder.path().toUtf8());
    EXPECT_TRUE(sessionBusHangs(50ms));
    qputenv("XDG_RUNTIME_DIR", "");
    EXPECT_FALSE(sessionBusHangs(50ms));
    qputenv("XDG_RUNTIME_DIR", before);
}

TEST_F(SessionBusProbe, WhatIsNoBusDoesNotHang) {
    for (const QByteArray& address :
         {QByteArray("unix:path=/nowhere/bus"), QByteArray("disabled:"), QByteArray("unix:"),
          QByteArray("unix:path="), QByteArray("unix:path=" + QByteArray(4000, 'x')),
          QByteArray("tcp:host=127.0.0.1,port=1"), QByteArray("\xFF;;=,")}) {
        qputenv(variable, address);
        EXPECT_FALSE(sessionBusHangs(20s)) << address.toStdString();
    }
}

TEST_F(SessionBusProbe, ABusThatWasLeftIsAbsentAtOnce) {
    qputenv(variable, "unix:path=" + listenInSilence());
    leaveSessionBus();
    EXPECT_FALSE(sessionBusHangs(20s));
    EXPECT_FALSE(QDBusConnection::connectToBus(QString::fromUtf8(qgetenv(variable)), u"left"_qs)
                     .isConnected());
    QDBusConnection::disconnectFromBus(u"left"_qs);
}

} // namespace lumivane::test
