#include "platform/linux/NotifierIcon.h"

#include "platform/linux/NotifierMenu.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QGuiApplication>
#include <QtEndian>

#include <utility>

namespace lumivane {

namespace {

const auto watcherService = u"org.kde.StatusNotifierWatcher"_qs;
const auto watcherPath = u"/StatusNotifierWatcher"_qs;
const auto itemPath = u"/StatusNotifierItem"_qs;
const auto menuPath = u"/StatusNotifierMenu"_qs;
const auto busService = u"org.freedesktop.DBus"_qs;
const auto busPath = u"/org/freedesktop/DBus"_qs;

constexpr uint doNotQueue = 4;

NotifierPicture pictureOf(const QImage& image) {
    const QImage straight = image.convertToFormat(QImage::Format_ARGB32);
    const qsizetype rowBytes = qsizetype(straight.width()) * 4;
    NotifierPicture picture{straight.width(), straight.height(),
                            QByteArray(rowBytes * straight.height(), Qt::Uninitialized)};
    for (int y = 0; y < straight.height(); ++y) {
        qToBigEndian<quint32>(straight.constScanLine(y), straight.width(),
                              picture.pixels.data() + y * rowBytes);
    }
    return picture;
}

ClickModifier heldModifier() {
    // A click over the bus says nothing of keys, and the last event of our own windows is old.
    return QGuiApplication::queryKeyboardModifiers().testFlag(Qt::ControlModifier)
               ? ClickModifier::control
               : ClickModifier::none;
}

} // namespace

NotifierItem::NotifierItem(TrayEvents events, QObject* parent)
    : QDBusAbstractAdaptor(parent)
    , m_events(std::move(events)) {}

void NotifierItem::show(const TrayContents& contents) {
    const TrayContents before = std::exchange(m_contents, contents);
    if (before.images != contents.images) {
        m_pictures.clear();
        for (const QImage& image : contents.images) {
            m_pictures << pictureOf(image);
        }
        Q_EMIT NewIcon();
    }
    if (before.toolTip != contents.toolTip) {
        Q_EMIT NewToolTip();
    }
    if (before.label != contents.label) {
        Q_EMIT NewTitle();
    }
}

QString NotifierItem::id() const { return QCoreApplication::applicationName(); }

NotifierToolTip NotifierItem::toolTip() const { return {{}, {}, m_contents.toolTip, {}}; }

QDBusObjectPath NotifierItem::menu() const { return QDBusObjectPath(menuPath); }

void NotifierItem::Activate(int, int) {
    const auto clicked = m_events.clicked;
    clicked(heldModifier());
}

void NotifierItem::ContextMenu(int, int) {
    const auto menuWanted = m_events.menuWanted;
    menuWanted();
}

NotifierIcon::NotifierIcon(const QDBusConnection& sessionBus, const TrayEvents& events)
    : m_bus(sessionBus)
    , m_name(u"org.kde.StatusNotifierItem-%1-1"_qs.arg(QCoreApplication::applicationPid()))
    , m_exportedItem(new QObject)
    , m_exportedMenu(new QObject)
    , m_item(new NotifierItem(events, m_exportedItem))
    , m_menu(new NotifierMenu(events, m_exportedMenu)) {
    registerNotifierRecords();
    m_bus.registerObject(itemPath, m_exportedItem);
    m_bus.registerObject(menuPath, m_exportedMenu);
}

NotifierIcon::~NotifierIcon() {
    m_bus.unregisterObject(itemPath);
    m_bus.unregisterObject(menuPath);
    if (m_isAnnounced) {
        auto release =
            QDBusMessage::createMethodCall(busService, busPath, busService, u"ReleaseName"_qs);
        release << m_name;
        m_bus.send(release);
    }
    m_exportedItem->deleteLater();
    m_exportedMenu->deleteLater();
}

void NotifierIcon::show(const TrayContents& contents) {
    m_item->show(contents);
    if (!m_isAnnounced) {
        announce();
    }
}

void NotifierIcon::announce() {
    m_isAnnounced = true;
    // A tray takes an icon away when its name goes, and nothing else tells it to. Both calls go out
    // at once: the bus works them off in their order.
    auto request =
        QDBusMessage::createMethodCall(busService, busPath, busService, u"RequestName"_qs);
    request << m_name << doNotQueue;
    m_bus.asyncCall(request);
    auto announcement = QDBusMessage::createMethodCall(watcherService, watcherPath, watcherService,
                                                       u"RegisterStatusNotifierItem"_qs);
    announcement << m_name;
    announcement.setAutoStartService(false);
    m_bus.asyncCall(announcement);
}

void NotifierIcon::refreshMenu() { m_menu->refresh(); }

} // namespace lumivane
