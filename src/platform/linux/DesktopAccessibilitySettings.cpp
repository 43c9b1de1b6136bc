#include "platform/linux/DesktopAccessibilitySettings.h"

#include "platform/linux/PortalValue.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QMap>
#include <QStyle>
#include <QVariantMap>

#include <cstddef>

namespace lumivane {

namespace {

const auto portalService = u"org.freedesktop.portal.Desktop"_qs;
const auto portalPath = u"/org/freedesktop/portal/desktop"_qs;
const auto portalInterface = u"org.freedesktop.portal.Settings"_qs;

enum class Subject { motion, transparency };

using Reader = std::optional<bool> (*)(const QVariant&);

template <typename T>
std::optional<T> as(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<T>() ? std::optional(value.value<T>())
                                                        : std::nullopt;
}

/// 1 asks for less; the portal has it that a number nobody knows counts as no wish.
std::optional<bool> oneMeansLess(const QVariant& value) {
    const auto number = as<uint>(value);
    return number ? std::optional(*number == 1) : std::nullopt;
}

std::optional<bool> trueMeansLess(const QVariant& value) { return as<bool>(value); }

std::optional<bool> falseMeansLess(const QVariant& value) {
    const auto isOn = as<bool>(value);
    return isOn ? std::optional(!*isOn) : std::nullopt;
}

/// A factor of every duration; some desktops hand numbers out as text.
std::optional<bool> zeroMeansLess(const QVariant& value) {
    if (value.metaType() != QMetaType::fromType<QString>() &&
        value.metaType() != QMetaType::fromType<double>() &&
        value.metaType() != QMetaType::fromType<int>()) {
        return std::nullopt;
    }
    bool isNumber = false;
    const double factor = value.toDouble(&isNumber);
    return isNumber ? std::optional(factor == 0) : std::nullopt;
}

struct Setting {
    const char* group;
    const char* key;
    Subject subject;
    Reader read;
};

constexpr std::array settings{
    Setting{"org.freedesktop.appearance", "reduced-motion", Subject::motion, oneMeansLess},
    Setting{"org.gnome.desktop.interface", "enable-animations", Subject::motion, falseMeansLess},
    Setting{"org.kde.kdeglobals.KDE", "AnimationDurationFactor", Subject::motion, zeroMeansLess},
    Setting{"org.freedesktop.appearance", "contrast", Subject::transparency, oneMeansLess},
    Setting{"org.gnome.desktop.a11y.interface", "high-contrast", Subject::transparency,
            trueMeansLess},
};

QStringList groups() {
    QStringList names;
    for (const Setting& setting : settings) {
        names << QString::fromLatin1(setting.group);
    }
    names.removeDuplicates();
    return names;
}

QApplication* applicationWithStyle() {
    return qobject_cast<QApplication*>(QCoreApplication::instance());
}

bool toolkitWantsLessMotion() {
    return applicationWithStyle() != nullptr &&
           QApplication::style()->styleHint(QStyle::SH_Widget_Animation_Duration) == 0;
}

} // namespace

DesktopAccessibilitySettings::DesktopAccessibilitySettings(
    const QDBusConnection& sessionBus, std::function<bool()> canShowTransparency, QObject* parent)
    : AccessibilitySettings(parent)
    , m_bus(sessionBus)
    , m_canShowTransparency(std::move(canShowTransparency)) {
    static_assert(settings.size() == settingCount);
    followStyle();
    // Without the portal's name: with it the toolkit would wait for the bus to say who has it.
    m_bus.connect(QString(), portalPath, portalInterface, u"SettingChanged"_qs, this,
                  SLOT(takeChange(QDBusMessage)));
    m_bus.connect(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                  u"org.freedesktop.DBus"_qs, u"NameOwnerChanged"_qs, {portalService}, QString(),
                  this, SLOT(followPortal(QString, QString, QString)));
    read();
}

void DesktopAccessibilitySettings::followPortal(const QString&, const QString&,
                                                const QString& now) {
    if (!now.isEmpty()) {
        read();
    }
}

void DesktopAccessibilitySettings::takeChange(const QDBusMessage& message) {
    if (message.service() != m_portal || message.signature() != u"ssv"_qs) {
        return;
    }
    const auto arguments = message.arguments();
    for (std::size_t index = 0; index < settings.size(); ++index) {
        if (arguments[0].toString() == QLatin1String(settings[index].group) &&
            arguments[1].toString() == QLatin1String(settings[index].key)) {
            if (const auto wish = settings[index].read(unwrapped(arguments[2]))) {
                m_wishes[index] = wish;
            }
        }
    }
    update();
}

void DesktopAccessibilitySettings::read() {
    auto question =
        QDBusMessage::createMethodCall(portalService, portalPath, portalInterface, u"ReadAll"_qs);
    question << groups();
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, reading = ++m_readings] {
                watcher->deleteLater();
                if (reading == m_readings) {
                    takeAnswer(watcher->reply());
                }
            });
}

void DesktopAccessibilitySettings::takeAnswer(const QDBusMessage& answer) {
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != u"a{sa{sv}}"_qs) {
        return;
    }
    m_portal = answer.service();
    const auto values = qdbus_cast<QMap<QString, QVariantMap>>(answer.arguments()[0]);
    for (std::size_t index = 0; index < settings.size(); ++index) {
        const auto group = values.value(QString::fromLatin1(settings[index].group));
        m_wishes[index] =
            settings[index].read(unwrapped(group.value(QString::fromLatin1(settings[index].key))));
    }
    update();
}

void DesktopAccessibilitySettings::followStyle() {
    if (applicationWithStyle() != nullptr) {
        // A style that takes the place of another deletes it; nothing else tells of the change.
        connect(QApplication::style(), &QObject::destroyed, this,
                &DesktopAccessibilitySettings::followStyle, Qt::QueuedConnection);
    }
    update();
}

void DesktopAccessibilitySettings::update() {
    const bool reducesMotion = wantsLessMotion();
    const bool reducesTransparency = wantsLessTransparency();
    if (reducesMotion == m_reducesMotion && reducesTransparency == m_reducesTransparency) {
        return;
    }
    m_reducesMotion = reducesMotion;
    m_reducesTransparency = reducesTransparency;
    Q_EMIT changed();
}

bool DesktopAccessibilitySettings::wantsLessMotion() const {
    bool isSpokenOf = false;
    for (std::size_t index = 0; index < settings.size(); ++index) {
        if (settings[index].subject == Subject::motion && m_wishes[index]) {
            if (*m_wishes[index]) {
                return true;
            }
            isSpokenOf = true;
        }
    }
    return !isSpokenOf && toolkitWantsLessMotion();
}

bool DesktopAccessibilitySettings::wantsLessTransparency() const {
    for (std::size_t index = 0; index < settings.size(); ++index) {
        if (settings[index].subject == Subject::transparency && m_wishes[index].value_or(false)) {
            return true;
        }
    }
    return m_canShowTransparency && !m_canShowTransparency();
}

} // namespace lumivane
