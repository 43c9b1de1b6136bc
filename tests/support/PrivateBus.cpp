#include "support/PrivateBus.h"

#include "support/XTestProcess.h"

#include <QFile>
#include <QUuid>

#include <signal.h>

#include <stdexcept>

namespace lumivane::test {

namespace {

// Without the machine's folders of services: its daemons would start by themselves otherwise.
constexpr auto configuration = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=%1/bus</listen>
  <auth>EXTERNAL</auth>
  <servicedir>%1/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

void writeConfiguration(const QString& path, const QString& folder) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        throw std::runtime_error("cannot write the configuration of a bus");
    }
    file.write(QString::fromLatin1(configuration).arg(folder).toUtf8());
}

} // namespace

PrivateBus::PrivateBus() {
    const QString path = m_home.filePath(u"bus.conf"_qs);
    writeConfiguration(path, m_home.path());
    m_daemon.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    startInOwnGroup(m_daemon, u"dbus-daemon"_qs,
                    {u"--config-file=%1"_qs.arg(path), u"--nofork"_qs, u"--nopidfile"_qs,
                     u"--nosyslog"_qs, u"--print-address"_qs});
    while (!m_daemon.canReadLine()) {
        if (!m_daemon.waitForReadyRead(20000)) {
            endGroup(m_daemon);
            throw std::runtime_error("the bus did not come up");
        }
    }
    m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
}

PrivateBus::~PrivateBus() {
    for (const QString& connection : m_connections) {
        QDBusConnection::disconnectFromBus(connection);
    }
    endGroup(m_daemon);
}

QDBusConnection PrivateBus::connect() {
    m_connections << QUuid::createUuid().toString();
    auto connection = QDBusConnection::connectToBus(m_address, m_connections.last());
    if (!connection.isConnected()) {
        throw std::runtime_error("cannot connect to a bus");
    }
    return connection;
}

QProcessEnvironment PrivateBus::environment() const {
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_qs, m_address);
    for (const auto* folder :
         {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
        environment.insert(QString::fromLatin1(folder), m_home.path());
    }
    return environment;
}

void PrivateBus::kill() {
    ::kill(static_cast<pid_t>(m_daemon.processId()), SIGKILL);
    m_daemon.waitForFinished();
}

HeldProcess::HeldProcess(std::int64_t processID)
    : m_processID(processID) {
    ::kill(static_cast<pid_t>(m_processID), SIGSTOP);
}

HeldProcess::~HeldProcess() { ::kill(static_cast<pid_t>(m_processID), SIGCONT); }

} // namespace lumivane::test
