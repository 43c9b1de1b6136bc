#include "support/KeyringDaemon.h"

#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>

#include <signal.h>

#include <stdexcept>

namespace lumivane::test {

namespace {

const QString name = u"org.freedesktop.secrets"_qs;

QDBusMessage checked(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ReplyMessage) {
        throw std::runtime_error(reply.errorMessage().toStdString());
    }
    return reply;
}

QDBusMessage serviceCall(const QString& operation) {
    return QDBusMessage::createMethodCall(name, u"/org/freedesktop/secrets"_qs,
                                          u"org.freedesktop.Secret.Service"_qs, operation);
}

} // namespace

KeyringDaemon::KeyringDaemon(PrivateBus& bus, const QByteArray& password)
    : m_bus(bus)
    , m_connection(bus.connect()) {
    qDBusRegisterMetaType<QMap<QString, QString>>();
    start(password);
}

KeyringDaemon::~KeyringDaemon() { endGroup(m_process); }

void KeyringDaemon::start(const QByteArray& password) {
    m_process.setProcessEnvironment(m_bus.environment());
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.setStandardErrorFile(QProcess::nullDevice());
    startInOwnGroup(m_process, u"gnome-keyring-daemon"_qs,
                    {u"--foreground"_qs, u"--unlock"_qs, u"--components=secrets"_qs});
    m_process.write(password);
    m_process.closeWriteChannel();
    if (!waitUntil(
            [this] { return m_connection.interface()->isServiceRegistered(name).value(); })) {
        throw std::runtime_error("the keyring did not come up");
    }
}

void KeyringDaemon::kill() {
    ::kill(static_cast<pid_t>(m_process.processId()), SIGKILL);
    m_process.waitForFinished();
    if (!waitUntil(
            [this] { return !m_connection.interface()->isServiceRegistered(name).value(); })) {
        throw std::runtime_error("the keyring did not go");
    }
}

void KeyringDaemon::lock() {
    const QList collections{QDBusObjectPath(u"/org/freedesktop/secrets/collection/login"_qs)};
    QDBusMessage call = serviceCall(u"Lock"_qs);
    call << QVariant::fromValue(collections);
    checked(m_connection.call(call));
}

QList<QDBusObjectPath> KeyringDaemon::items(const QString& service, const QString& account) const {
    QDBusMessage call = serviceCall(u"SearchItems"_qs);
    call << QVariant::fromValue(
        QMap<QString, QString>{{u"service"_qs, service}, {u"account"_qs, account}});
    const QDBusMessage reply = checked(m_connection.call(call));
    return qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().at(0)) +
           qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().at(1));
}

QMap<QString, QString> KeyringDaemon::attributes(const QDBusObjectPath& item) const {
    QDBusMessage call = QDBusMessage::createMethodCall(
        name, item.path(), u"org.freedesktop.DBus.Properties"_qs, u"Get"_qs);
    call << u"org.freedesktop.Secret.Item"_qs << u"Attributes"_qs;
    const QDBusMessage reply = checked(m_connection.call(call));
    return qdbus_cast<QMap<QString, QString>>(
        reply.arguments().at(0).value<QDBusVariant>().variant());
}

QByteArray KeyringDaemon::readByTool(const QString& service, const QString& account) const {
    QProcess tool;
    startTool(tool, {u"lookup"_qs, u"service"_qs, service, u"account"_qs, account});
    tool.closeWriteChannel();
    tool.waitForFinished();
    return tool.readAllStandardOutput();
}

void KeyringDaemon::storeByTool(const QString& service, const QString& account,
                                const QByteArray& secret, const QString& schema) const {
    QStringList arguments{u"store"_qs, u"--label=x"_qs, u"service"_qs,
                          service,     u"account"_qs,   account};
    if (!schema.isEmpty()) {
        arguments << u"xdg:schema"_qs << schema;
    }
    QProcess tool;
    startTool(tool, arguments);
    tool.write(secret);
    tool.closeWriteChannel();
    if (!tool.waitForFinished() || tool.exitCode() != 0) {
        throw std::runtime_error("the tool stored nothing");
    }
}

void KeyringDaemon::startTool(QProcess& tool, const QStringList& arguments) const {
    tool.setProcessEnvironment(m_bus.environment());
    startInOwnGroup(tool, u"secret-tool"_qs, arguments);
}

} // namespace lumivane::test
