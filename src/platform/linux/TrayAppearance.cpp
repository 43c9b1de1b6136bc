#include "platform/linux/TrayAppearance.h"

#include "platform/linux/PortalValue.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QMap>
#include <QVariantMap>

#include <utility>

namespace lumivane {

namespace {

const auto portalService = u"org.freedesktop.portal.Desktop"_qs;
const auto portalPath = u"/org/freedesktop/portal/desktop"_qs;
const auto portalInterface = u"org.freedesktop.portal.Settings"_qs;
const auto group = u"org.freedesktop.appearance"_qs;
const auto key = u"color-scheme"_qs;

constexpr uint prefersDark = 1; // 2 prefers light, everything else is no preference

} // namespace

TrayAppearance::TrayAppearance(const QDBusConnection& sessionBus)
    : m_bus(sessionBus) {
    // Without the portal's name: with it the toolkit would wait for the bus to say who has it.
    m_bus.connect(QString(), portalPath, portalInterface, u"SettingChanged"_qs, this,
                  SLOT(takeChange(QDBusMessage)));
    m_bus.connect(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                  u"org.freedesktop.DBus"_qs, u"NameOwnerChanged"_qs, {portalService}, QString(),
                  this, SLOT(followPortal(QString, QString, QString)));
    read();
}

void TrayAppearance::followPortal(const QString&, const QString&, const QString& now) {
    if (!now.isEmpty()) {
        read();
    }
}

void TrayAppearance::read() {
    auto question =
        QDBusMessage::createMethodCall(portalService, portalPath, portalInterface, u"ReadAll"_qs);
    question << QStringList{group};
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        takeAnswer(watcher->reply());
    });
}

void TrayAppearance::takeAnswer(const QDBusMessage& answer) {
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != u"a{sa{sv}}"_qs) {
        return;
    }
    m_portal = answer.service();
    const auto groups = qdbus_cast<QMap<QString, QVariantMap>>(answer.arguments()[0]);
    takeScheme(groups.value(group).value(key));
}

void TrayAppearance::takeChange(const QDBusMessage& message) {
    if (message.service() == m_portal && message.signature() == u"ssv"_qs &&
        message.arguments()[0].toString() == group && message.arguments()[1].toString() == key) {
        takeScheme(message.arguments()[2]);
    }
}

void TrayAppearance::takeScheme(const QVariant& value) {
    const QVariant scheme = unwrapped(value);
    const bool isDark =
        scheme.metaType() == QMetaType::fromType<uint>() && scheme.toUInt() == prefersDark;
    const Appearance appearance = isDark ? Appearance::dark : Appearance::light;
    if (std::exchange(m_appearance, appearance) != appearance) {
        Q_EMIT changed();
    }
}

} // namespace lumivane
