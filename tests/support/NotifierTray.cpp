#include "support/NotifierTray.h"

#include "support/EventLoop.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QUuid>
#include <QtEndian>

#include <stdexcept>
#include <utility>

namespace lumivane::test {

namespace {

const auto watcherName = u"org.kde.StatusNotifierWatcher"_qs;
const auto watcherPath = u"/StatusNotifierWatcher"_qs;
const auto itemPath = u"/StatusNotifierItem"_qs;
const auto itemInterface = u"org.kde.StatusNotifierItem"_qs;
const auto menuInterface = u"com.canonical.dbusmenu"_qs;
const auto propertiesInterface = u"org.freedesktop.DBus.Properties"_qs;

QDBusConnection ownConnection() {
    auto bus = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"),
                                             QUuid::createUuid().toString());
    if (!bus.isConnected()) {
        throw std::runtime_error("cannot connect to the session bus");
    }
    return bus;
}

/// Pictures travel as width, height and pixels with the highest byte first.
QImage readPicture(const QDBusArgument& argument) {
    int width = 0;
    int height = 0;
    QByteArray pixels;
    argument.beginStructure();
    argument >> width >> height >> pixels;
    argument.endStructure();
    QImage picture(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        qFromBigEndian<quint32>(pixels.constData() + qsizetype(y) * width * 4, width,
                                picture.scanLine(y));
    }
    return picture;
}

NotifierTray::Line readLine(const QDBusArgument& argument) {
    NotifierTray::Line line;
    QVariantMap properties;
    argument.beginStructure();
    argument >> line.id >> properties;
    argument.endStructure();
    line.title = properties.value(u"label"_qs).toString();
    line.enabled = properties.value(u"enabled"_qs, true).toBool();
    return line;
}

std::vector<NotifierTray::Line> readLines(const QDBusArgument& root) {
    std::vector<NotifierTray::Line> lines;
    int id = 0;
    QVariantMap properties;
    root.beginStructure();
    root >> id >> properties;
    root.beginArray();
    while (!root.atEnd()) {
        QDBusVariant child;
        root >> child;
        lines.push_back(readLine(child.variant().value<QDBusArgument>()));
    }
    root.endArray();
    root.endStructure();
    return lines;
}

} // namespace

/// Hears every call to the watcher before any of them is answered.
class NotifierTray::Object final : public QDBusVirtualObject {
public:
    explicit Object(NotifierTray& tray)
        : m_tray(tray) {}

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
        return m_tray.handle(message);
    }

private:
    NotifierTray& m_tray;
};

NotifierTray::NotifierTray(Host host, Manner manner)
    : m_bus(ownConnection())
    , m_object(std::make_unique<Object>(*this))
    , m_host(host)
    , m_manner(manner) {
    m_bus.connect(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                  u"org.freedesktop.DBus"_qs, u"NameOwnerChanged"_qs, this,
                  SLOT(followOwner(QString, QString, QString)));
    m_bus.connect(QString(), itemPath, itemInterface, u"NewIcon"_qs, this, SLOT(noteNewPicture()));
    m_bus.connect(QString(), QString(), menuInterface, u"LayoutUpdated"_qs, this,
                  SLOT(noteNewMenu()));
    m_bus.connect(QString(), QString(), menuInterface, u"ItemsPropertiesUpdated"_qs, this,
                  SLOT(noteNewMenu()));
    m_bus.registerVirtualObject(watcherPath, m_object.get());
    if (!m_bus.registerService(watcherName)) {
        throw std::runtime_error("there is a tray on this bus already");
    }
}

NotifierTray::~NotifierTray() { QDBusConnection::disconnectFromBus(m_bus.name()); }

bool NotifierTray::handle(const QDBusMessage& message) {
    if (m_manner == Manner::staysSilent) {
        message.setDelayedReply(true);
        m_unanswered.push_back(message);
    } else {
        answer(message);
    }
    return true;
}

void NotifierTray::answer(const QDBusMessage& question) {
    if (question.member() == u"Get"_qs) {
        const bool hasHost = m_host == Host::present;
        m_bus.send(question.createReply(QVariant::fromValue(QDBusVariant(hasHost))));
    } else if (question.member() == u"RegisterStatusNotifierItem"_qs) {
        ++m_announcements;
        m_items << question.arguments().at(0).toString();
        m_bus.send(question.createReply());
    }
}

void NotifierTray::setHost(Host host) {
    m_host = host;
    m_bus.send(QDBusMessage::createSignal(watcherPath, watcherName,
                                          host == Host::present
                                              ? u"StatusNotifierHostRegistered"_qs
                                              : u"StatusNotifierHostUnregistered"_qs));
}

void NotifierTray::wakeUp() {
    m_manner = Manner::answers;
    for (const QDBusMessage& question : std::exchange(m_unanswered, {})) {
        answer(question);
    }
}

void NotifierTray::followOwner(const QString& name, const QString&, const QString& now) {
    if (now.isEmpty()) {
        m_items.removeAll(name);
    }
}

QStringList NotifierTray::items() const { return m_items; }

bool NotifierTray::waitForItem() {
    return waitUntil([this] { return m_items.size() == 1; });
}

QDBusMessage NotifierTray::call(const QString& path, const QString& interface,
                                const QString& method, const QVariantList& arguments) {
    auto question = QDBusMessage::createMethodCall(m_items.value(0), path, interface, method);
    question.setArguments(arguments);
    const QDBusPendingCall pending = m_bus.asyncCall(question);
    if (!waitUntil([&pending] { return pending.isFinished(); })) {
        throw std::runtime_error("the icon gave no answer");
    }
    const QDBusMessage answer = pending.reply();
    if (answer.type() != QDBusMessage::ReplyMessage) {
        throw std::runtime_error(answer.errorMessage().toStdString());
    }
    return answer;
}

QVariant NotifierTray::property(const QString& name) {
    const auto answer = call(itemPath, propertiesInterface, u"Get"_qs, {itemInterface, name});
    return answer.arguments().at(0).value<QDBusVariant>().variant();
}

std::vector<QImage> NotifierTray::pictures() {
    const auto argument = property(u"IconPixmap"_qs).value<QDBusArgument>();
    std::vector<QImage> pictures;
    argument.beginArray();
    while (!argument.atEnd()) {
        pictures.push_back(readPicture(argument));
    }
    argument.endArray();
    return pictures;
}

QString NotifierTray::toolTip() {
    const auto argument = property(u"ToolTip"_qs).value<QDBusArgument>();
    QString iconName;
    QString title;
    argument.beginStructure();
    argument >> iconName;
    argument.beginArray();
    while (!argument.atEnd()) {
        readPicture(argument);
    }
    argument.endArray();
    argument >> title;
    argument.endStructure();
    return title;
}

QString NotifierTray::menuPath() { return property(u"Menu"_qs).value<QDBusObjectPath>().path(); }

std::vector<NotifierTray::Line> NotifierTray::menu() {
    const auto answer =
        call(menuPath(), menuInterface, u"GetLayout"_qs, {0, -1, QVariant(QStringList())});
    return readLines(answer.arguments().at(1).value<QDBusArgument>());
}

void NotifierTray::primaryClick(const QPoint& position) {
    call(itemPath, itemInterface, u"Activate"_qs, {position.x(), position.y()});
}

void NotifierTray::askForMenu(const QPoint& position) {
    call(itemPath, itemInterface, u"ContextMenu"_qs, {position.x(), position.y()});
}

std::vector<NotifierTray::Line> NotifierTray::openMenu() {
    announceOpening();
    return menu();
}

void NotifierTray::announceOpening() { call(menuPath(), menuInterface, u"AboutToShow"_qs, {0}); }

void NotifierTray::choose(int line) {
    call(menuPath(), menuInterface, u"Event"_qs,
         {line, u"clicked"_qs, QVariant::fromValue(QDBusVariant(0)), QVariant::fromValue(0U)});
}

QVariantList NotifierTray::callMenu(const QString& method, const QVariantList& arguments) {
    return call(menuPath(), menuInterface, method, arguments).arguments();
}

} // namespace lumivane::test
