#include "support/ScriptedSecretService.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QList>
#include <QVariantMap>

#include <stdexcept>
#include <utility>

namespace lumivane::test {

using Texts = QMap<QString, QString>;
using Paths = QList<QDBusObjectPath>;

/// A secret on the wire.
struct SecretOnBus {
    QDBusObjectPath session;
    QByteArray parameters;
    QByteArray value;
    QString contentType;
};

using SecretsOnBus = QMap<QDBusObjectPath, SecretOnBus>;

QDBusArgument& operator<<(QDBusArgument& argument, const SecretOnBus& secret) {
    argument.beginStructure();
    argument << secret.session << secret.parameters << secret.value << secret.contentType;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, SecretOnBus& secret) {
    argument.beginStructure();
    argument >> secret.session >> secret.parameters >> secret.value >> secret.contentType;
    argument.endStructure();
    return argument;
}

} // namespace lumivane::test

Q_DECLARE_METATYPE(lumivane::test::SecretOnBus)
Q_DECLARE_METATYPE(lumivane::test::SecretsOnBus)

namespace lumivane::test {

namespace {

const QString root = u"/org/freedesktop/secrets"_qs;
const QDBusObjectPath collectionPath(root + u"/collection/login"_qs);
const QDBusObjectPath itemPath(root + u"/collection/login/1"_qs);
const QDBusObjectPath sessionPath(root + u"/session/1"_qs);
const QDBusObjectPath promptPath(root + u"/prompt/1"_qs);
const QDBusObjectPath noPath(u"/"_qs);
const QString prefix = u"org.freedesktop.Secret."_qs;

QVariant asVariant(const auto& value) { return QVariant::fromValue(value); }

Paths pathsIf(bool isThere, const QDBusObjectPath& path) { return isThere ? Paths{path} : Paths{}; }

} // namespace

ScriptedSecretService::ScriptedSecretService(QDBusConnection bus)
    : m_bus(std::move(bus)) {
    qDBusRegisterMetaType<Texts>();
    qDBusRegisterMetaType<SecretOnBus>();
    qDBusRegisterMetaType<SecretsOnBus>();
    if (!m_bus.registerVirtualObject(root, this, QDBusConnection::SubPath) ||
        !m_bus.registerService(u"org.freedesktop.secrets"_qs)) {
        throw std::runtime_error("cannot keep secrets on a bus");
    }
}

ScriptedSecretService::~ScriptedSecretService() {
    m_bus.unregisterService(u"org.freedesktop.secrets"_qs);
    m_bus.unregisterObject(root, QDBusConnection::UnregisterTree);
}

void ScriptedSecretService::put(const QString& service, const QString& account,
                                const QByteArray& secret) {
    item = Item{{{u"service"_qs, service},
                 {u"account"_qs, account},
                 {u"xdg:schema"_qs, u"com.marnoth.Lumivane.SecretItem"_qs}},
                secret};
}

bool ScriptedSecretService::handleMessage(const QDBusMessage& message, const QDBusConnection& bus) {
    const bool isWrite = message.member() == u"CreateItem" || message.member() == u"SetSecret";
    if (isWrite && holdsWrites) {
        message.setDelayedReply(true);
        m_held = message;
        return true;
    }
    const bool isSent = bus.send(replyTo(message));
    if (message.member() == u"Prompt" && answer != Answer::none) {
        complete();
    }
    return isSent;
}

void ScriptedSecretService::release() {
    m_bus.send(replyTo(*m_held));
    m_held.reset();
}

QDBusMessage ScriptedSecretService::replyTo(const QDBusMessage& message) {
    const QString interface = message.interface();
    const QString member = message.member();
    if (member == u"GetAll") {
        return message.createReply(properties(message.arguments().value(0).toString()));
    }
    if (interface == prefix + u"Service"_qs) {
        return replyOfService(message);
    }
    if (interface == prefix + u"Item"_qs) {
        return replyOfItem(message);
    }
    if (member == u"CreateItem") {
        return createItem(message);
    }
    if (member == u"Prompt") {
        ++questionCount;
    } else if (member == u"Dismiss") {
        ++dismissedCount;
    }
    return message.createReply();
}

QDBusMessage ScriptedSecretService::replyOfService(const QDBusMessage& message) {
    const QString member = message.member();
    if (member == u"OpenSession") {
        return openSession(message);
    }
    if (member == u"SearchItems") {
        const bool isFound = matches(qdbus_cast<Texts>(message.arguments().value(0)));
        return message.createReply({asVariant(pathsIf(isFound && !isLocked, itemPath)),
                                    asVariant(pathsIf(isFound && isLocked, itemPath))});
    }
    if (member == u"ReadAlias") {
        return message.createReply(asVariant(hasCollection ? collectionPath : noPath));
    }
    if (member == u"GetSecrets") {
        return secrets(message);
    }
    if (member == u"Unlock") {
        return ask(message, Subject::unlocking, asVariant(Paths{}));
    }
    if (member == u"CreateCollection") {
        return ask(message, Subject::creating, asVariant(noPath));
    }
    return message.createErrorReply(QDBusError::UnknownMethod, member);
}

QDBusMessage ScriptedSecretService::replyOfItem(const QDBusMessage& message) {
    if (isLocked || !item) {
        return message.createErrorReply(u"org.freedesktop.Secret.Error.IsLocked"_qs, u"locked"_qs);
    }
    if (message.member() == u"SetSecret") {
        item->secret = qdbus_cast<SecretOnBus>(message.arguments().value(0)).value;
        return message.createReply();
    }
    if (message.member() == u"Delete") {
        item.reset();
        return message.createReply(asVariant(noPath));
    }
    return message.createErrorReply(QDBusError::UnknownMethod, message.member());
}

QDBusMessage ScriptedSecretService::openSession(const QDBusMessage& message) const {
    if (message.arguments().value(0).toString() != u"plain") {
        return message.createErrorReply(QDBusError::NotSupported, u"plain alone"_qs);
    }
    return message.createReply({asVariant(QDBusVariant(QString())), asVariant(sessionPath)});
}

QDBusMessage ScriptedSecretService::secrets(const QDBusMessage& message) const {
    SecretsOnBus found;
    if (item && !isLocked) {
        found.insert(itemPath, {sessionPath, {}, item->secret, u"text/plain"_qs});
    }
    return message.createReply(asVariant(found));
}

QDBusMessage ScriptedSecretService::createItem(const QDBusMessage& message) {
    if (isLocked) {
        return message.createErrorReply(u"org.freedesktop.Secret.Error.IsLocked"_qs, u"locked"_qs);
    }
    const auto given = qdbus_cast<QVariantMap>(message.arguments().value(0));
    const auto attributes = qdbus_cast<Texts>(given.value(prefix + u"Item.Attributes"_qs));
    item = Item{attributes, qdbus_cast<SecretOnBus>(message.arguments().value(1)).value};
    return message.createReply({asVariant(itemPath), asVariant(noPath)});
}

QDBusMessage ScriptedSecretService::ask(const QDBusMessage& message, Subject subject,
                                        const QVariant& before) {
    m_subject = subject;
    return message.createReply({before, asVariant(promptPath)});
}

void ScriptedSecretService::complete() {
    const bool isYes = answer == Answer::yes;
    QVariant result = asVariant(pathsIf(isYes, item ? itemPath : collectionPath));
    if (m_subject == Subject::creating) {
        result = asVariant(isYes ? collectionPath : noPath);
        hasCollection = hasCollection || isYes;
    }
    isLocked = isLocked && !isYes;
    QDBusMessage completed =
        QDBusMessage::createSignal(promptPath.path(), prefix + u"Prompt"_qs, u"Completed"_qs);
    completed << !isYes << asVariant(QDBusVariant(result));
    m_bus.send(completed);
}

QVariantMap ScriptedSecretService::properties(const QString& interface) const {
    if (interface == prefix + u"Item"_qs && item) {
        return {{u"Locked"_qs, isLocked},
                {u"Attributes"_qs, asVariant(item->attributes)},
                {u"Label"_qs, u"item"_qs},
                {u"Created"_qs, qulonglong(0)},
                {u"Modified"_qs, qulonglong(0)}};
    }
    if (interface == prefix + u"Collection"_qs && hasCollection) {
        return {{u"Locked"_qs, isLocked},
                {u"Items"_qs, asVariant(pathsIf(item.has_value(), itemPath))},
                {u"Label"_qs, u"Login"_qs},
                {u"Created"_qs, qulonglong(0)},
                {u"Modified"_qs, qulonglong(0)}};
    }
    return {{u"Collections"_qs, asVariant(pathsIf(hasCollection, collectionPath))}};
}

bool ScriptedSecretService::matches(const Texts& attributes) const {
    if (!item) {
        return false;
    }
    for (auto wanted = attributes.begin(); wanted != attributes.end(); ++wanted) {
        if (item->attributes.value(wanted.key()) != wanted.value()) {
            return false;
        }
    }
    return true;
}

} // namespace lumivane::test
