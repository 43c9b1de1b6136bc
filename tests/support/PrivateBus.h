#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>

#include <cstdint>

namespace lumivane::test {

/// A message bus of a test's own, on which nothing answers but what the test puts there. It ends
/// with its object. It throws std::runtime_error where it does not start.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const QString& address() const { return m_address; }

    std::int64_t processID() const { return m_daemon.processId(); }

    /// A connection of the caller's own, closed no later than the bus.
    QDBusConnection connect();

    /// The surroundings of a program that lives on this bus and writes into a home of its own.
    QProcessEnvironment environment() const;

    /// A folder that lives as long as the bus. What "services" in it describes before the first
    /// program asks for it, the bus starts when asked.
    QString folder() const { return m_home.path(); }

    /// Ends it in the middle of whatever it does.
    void kill();

private:
    QTemporaryDir m_home;
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

/// Keeps a process from running while it lives, as one that hangs.
class HeldProcess {
public:
    explicit HeldProcess(std::int64_t processID);
    ~HeldProcess();
    HeldProcess(const HeldProcess&) = delete;
    HeldProcess& operator=(const HeldProcess&) = delete;

private:
    std::int64_t m_processID;
};

} // namespace lumivane::test
