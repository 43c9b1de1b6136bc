#include "support/AtspiReader.h"

#include "support/EventLoop.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QUuid>

#include <stdexcept>

namespace lumivane::test {

namespace {

const auto registry = u"org.a11y.atspi.Registry"_qs;
const auto rootPath = u"/org/a11y/atspi/accessible/root"_qs;
const auto accessible = u"org.a11y.atspi.Accessible"_qs;
const auto actionInterface = u"org.a11y.atspi.Action"_qs;
const auto textInterface = u"org.a11y.atspi.Text"_qs;
const auto valueInterface = u"org.a11y.atspi.Value"_qs;
const auto eventInterface = u"org.a11y.atspi.Event.Object"_qs;

QString payload(const QVariant& argument) {
    return argument.value<QDBusVariant>().variant().toString();
}

} // namespace

const AccessibleNode* AccessibleNode::find(const QString& wantedRole,
                                           const QString& wantedName) const {
    if (role == wantedRole && (wantedName.isNull() || name == wantedName)) {
        return this;
    }
    for (const AccessibleNode& child : children) {
        if (const auto* found = child.find(wantedRole, wantedName)) {
            return found;
        }
    }
    return nullptr;
}

QString AccessibleNode::outline(int depth) const {
    auto lines = u"%1%2 \"%3\" \"%4\" \"%5\"\n"_qs.arg(QString(2 * depth, u' '), role, name,
                                                       description, text.value_or(QString()));
    for (const AccessibleNode& child : children) {
        lines += child.outline(depth + 1);
    }
    return lines;
}

AtspiReader::AtspiReader(const QString& address)
    : m_name(QUuid::createUuid().toString())
    , m_bus(QDBusConnection::connectToBus(address, m_name)) {
    const bool hears = m_bus.connect(QString(), QString(), eventInterface, QString(), this,
                                     SLOT(hear(QDBusMessage)));
    if (!hears) {
        throw std::runtime_error("cannot listen on the accessibility bus");
    }
}

AtspiReader::~AtspiReader() { QDBusConnection::disconnectFromBus(m_name); }

std::optional<AccessibleNode> AtspiReader::waitForApplication(std::int64_t processID,
                                                              const QString& wantedRole,
                                                              const QString& wantedName) {
    std::optional<AccessibleNode> found;
    const bool isThere = waitUntil([&] {
        try {
            found = application(processID);
        } catch (const std::runtime_error&) {
            found.reset(); // something of it went while it was read
        }
        return found && (wantedRole.isNull() ? !found->children.empty()
                                             : found->find(wantedRole, wantedName) != nullptr);
    });
    return isThere ? found : std::nullopt;
}

std::optional<AccessibleNode> AtspiReader::application(std::int64_t processID) {
    for (const Reference& program : children({registry, rootPath})) {
        if (ownerOf(program.service) == processID) {
            return read(program.service, program.path);
        }
    }
    return std::nullopt;
}

bool AtspiReader::act(const AccessibleNode& node, const QString& name) {
    const auto index = node.actions.indexOf(name);
    if (index < 0) {
        return false;
    }
    const auto reply =
        ask({node.service, node.path}, actionInterface, u"DoAction"_qs, {int(index)});
    return reply.arguments().value(0).toBool();
}

void AtspiReader::listen(const QString& type) {
    ask({registry, u"/org/a11y/atspi/registry"_qs}, registry, u"RegisterEvent"_qs,
        {type, QStringList(), QString()});
}

void AtspiReader::stopListening(const QString& type) {
    ask({registry, u"/org/a11y/atspi/registry"_qs}, registry, u"DeregisterEvent"_qs, {type});
}

std::int64_t AtspiReader::registryProcessID() { return ownerOf(registry); }

std::vector<AccessibleEvent> AtspiReader::events(const QString& kind) const {
    std::vector<AccessibleEvent> found;
    for (const AccessibleEvent& event : m_events) {
        if (event.kind == kind) {
            found.push_back(event);
        }
    }
    return found;
}

AccessibleNode AtspiReader::read(const QString& service, const QString& path) {
    const Reference object{service, path};
    AccessibleNode node;
    node.service = service;
    node.path = path;
    node.role = ask(object, accessible, u"GetRoleName"_qs).arguments().value(0).toString();
    node.name = property(object, accessible, u"Name"_qs).toString();
    node.description = property(object, accessible, u"Description"_qs).toString();
    node.states = states(object);
    const auto interfaces =
        ask(object, accessible, u"GetInterfaces"_qs).arguments().value(0).toStringList();
    if (interfaces.contains(actionInterface)) {
        node.actions = actions(object);
    }
    if (interfaces.contains(textInterface)) {
        node.text =
            ask(object, textInterface, u"GetText"_qs, {0, -1}).arguments().value(0).toString();
    }
    if (interfaces.contains(valueInterface)) {
        node.value = property(object, valueInterface, u"CurrentValue"_qs).toDouble();
    }
    for (const Reference& child : children(object)) {
        node.children.push_back(read(child.service, child.path));
    }
    return node;
}

void AtspiReader::hear(const QDBusMessage& message) {
    const auto arguments = message.arguments();
    m_events.push_back({message.member(), arguments.value(0).toString(), arguments.value(1).toInt(),
                        arguments.value(2).toInt(), payload(arguments.value(3)), message.service(),
                        message.path()});
}

QDBusMessage AtspiReader::ask(const Reference& object, const QString& interface,
                              const QString& method, const QVariantList& arguments) {
    auto question = QDBusMessage::createMethodCall(object.service, object.path, interface, method);
    question.setArguments(arguments);
    const auto answer = m_bus.asyncCall(question);
    if (!waitUntil([&] { return answer.isFinished(); }) || answer.isError()) {
        throw std::runtime_error("no answer to " + method.toStdString() + " of " +
                                 object.path.toStdString());
    }
    return answer.reply();
}

std::int64_t AtspiReader::ownerOf(const QString& service) {
    const Reference bus{u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs};
    const auto reply =
        ask(bus, u"org.freedesktop.DBus"_qs, u"GetConnectionUnixProcessID"_qs, {service});
    return reply.arguments().value(0).toLongLong();
}

QVariant AtspiReader::property(const Reference& object, const QString& interface,
                               const QString& name) {
    const auto reply =
        ask(object, u"org.freedesktop.DBus.Properties"_qs, u"Get"_qs, {interface, name});
    return reply.arguments().value(0).value<QDBusVariant>().variant();
}

std::vector<AtspiReader::Reference> AtspiReader::children(const Reference& object) {
    const auto reply = ask(object, accessible, u"GetChildren"_qs);
    const auto list = reply.arguments().value(0).value<QDBusArgument>();
    std::vector<Reference> found;
    list.beginArray();
    while (!list.atEnd()) {
        QString service;
        QDBusObjectPath path;
        list.beginStructure();
        list >> service >> path;
        list.endStructure();
        found.push_back({service, path.path()});
    }
    list.endArray();
    return found;
}

QStringList AtspiReader::actions(const Reference& object) {
    const auto reply = ask(object, actionInterface, u"GetActions"_qs);
    const auto list = reply.arguments().value(0).value<QDBusArgument>();
    QStringList names;
    list.beginArray();
    while (!list.atEnd()) {
        QString name;
        QString description;
        QString keys;
        list.beginStructure();
        list >> name >> description >> keys;
        list.endStructure();
        names << name;
    }
    list.endArray();
    return names;
}

std::uint64_t AtspiReader::states(const Reference& object) {
    const auto reply = ask(object, accessible, u"GetState"_qs);
    const auto words = qdbus_cast<QList<uint>>(reply.arguments().value(0));
    return words.value(0) | std::uint64_t(words.value(1)) << 32U;
}

} // namespace lumivane::test
