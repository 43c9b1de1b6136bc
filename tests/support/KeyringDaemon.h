#pragma once

#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QList>
#include <QMap>
#include <QProcess>
#include <QString>

#include <cstdint>

namespace lumivane::test {

/// The desktop's own keyring on a bus of a test's own, with a home of its own. It ends with its
/// object. Whatever does not come up throws std::runtime_error.
class KeyringDaemon {
public:
    /// Starts it on `bus`, which outlives it, and unlocks its collection; the first password of a
    /// home is the right one ever after.
    explicit KeyringDaemon(PrivateBus& bus, const QByteArray& password = "right");
    ~KeyringDaemon();
    KeyringDaemon(const KeyringDaemon&) = delete;
    KeyringDaemon& operator=(const KeyringDaemon&) = delete;

    /// Starts it again after `kill`; with another password than the first its collection is locked.
    void start(const QByteArray& password = "right");

    /// Ends it in the middle of whatever it does.
    void kill();

    std::int64_t processID() const { return m_process.processId(); }

    /// Locks its collection, as a desktop does after a while.
    void lock();

    /// The items with these two attributes, locked or not, of whatever program.
    QList<QDBusObjectPath> items(const QString& service, const QString& account) const;

    QMap<QString, QString> attributes(const QDBusObjectPath& item) const;

    /// What another program reads under the two attributes; empty for nothing.
    QByteArray readByTool(const QString& service, const QString& account) const;

    /// Another program puts an item there; with a schema, as if the one with that schema had.
    void storeByTool(const QString& service, const QString& account, const QByteArray& secret,
                     const QString& schema = {}) const;

private:
    void startTool(QProcess& tool, const QStringList& arguments) const;

    PrivateBus& m_bus;
    QDBusConnection m_connection;
    QProcess m_process;
};

} // namespace lumivane::test
