#include "platform/linux/AtspiAnnouncer.h"

#include <QAccessible>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QVariantMap>

#include <limits>

namespace lumivane {

namespace {

constexpr int mostUnconfirmed = 16;

/// How much assistive technology lets a text interrupt: AtspiLive of the accessibility bus.
enum class Politeness { polite = 1, assertive = 2 };

Politeness politeness(AnnouncementPriority priority) {
    return priority == AnnouncementPriority::high ? Politeness::assertive : Politeness::polite;
}

QDBusMessage announcement(QString text, AnnouncementPriority priority) {
    auto signal = QDBusMessage::createSignal(u"/org/a11y/atspi/accessible/root"_qs,
                                             u"org.a11y.atspi.Event.Object"_qs, u"Announcement"_qs);
    text.replace(QChar(u'\0'), QChar(QChar::ReplacementCharacter));
    signal << QString() << static_cast<int>(politeness(priority)) << 0
           << QVariant::fromValue(QDBusVariant(text)) << QVariantMap();
    return signal;
}

QDBusMessage signOfLife() {
    return QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                                          u"org.freedesktop.DBus.Peer"_qs, u"Ping"_qs);
}

} // namespace

AtspiAnnouncer::AtspiAnnouncer(const QString& connectionName)
    : m_connectionName(connectionName) {}

void AtspiAnnouncer::announce(const QString& text, AnnouncementPriority priority) {
    if (!QAccessible::isActive() || m_unconfirmed >= mostUnconfirmed) {
        return;
    }
    QDBusConnection bus(m_connectionName);
    if (!bus.isConnected() || !bus.send(announcement(text, priority))) {
        return;
    }
    // A bus that hangs makes the connection keep what it was given. The bus takes messages in
    // order, so its answer to a question sent behind an announcement says that both have left.
    ++m_unconfirmed;
    const auto answer = bus.asyncCall(signOfLife(), std::numeric_limits<int>::max());
    auto* watcher = new QDBusPendingCallWatcher(answer, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        --m_unconfirmed;
        watcher->deleteLater();
    });
}

} // namespace lumivane
