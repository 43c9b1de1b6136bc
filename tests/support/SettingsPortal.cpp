#include "support/SettingsPortal.h"

#include <QDBusMetaType>
#include <QDBusVariant>

#include <stdexcept>

namespace lumivane::test {

namespace {

const auto path = u"/org/freedesktop/portal/desktop"_qs;

using Seat = SettingsPortal::Seat;

QString serviceName(Seat seat) {
    return seat == Seat::portal ? u"org.freedesktop.portal.Desktop"_qs
                                : SettingsPortal::desktopName();
}

QString interfaceName(Seat seat) {
    return seat == Seat::portal ? u"org.freedesktop.portal.Settings"_qs
                                : u"org.freedesktop.impl.portal.Settings"_qs;
}

QVariant sendable(const PortalSettings& settings) {
    qDBusRegisterMetaType<PortalSettings>();
    return QVariant::fromValue(settings);
}

} // namespace

SettingsPortal::SettingsPortal(PrivateBus& bus, const PortalSettings& settings, Manner manner,
                               Seat seat)
    : SettingsPortal(bus, sendable(settings), manner, seat) {}

SettingsPortal::SettingsPortal(PrivateBus& bus, const QVariant& answer, Manner manner, Seat seat)
    : m_bus(bus.connect())
    , m_seat(seat)
    , m_answer(answer)
    , m_manner(manner) {
    m_bus.registerObject(path, interfaceName(m_seat), this, QDBusConnection::ExportAllSlots);
    if (!m_bus.registerService(serviceName(m_seat))) {
        throw std::runtime_error("there is a portal on this bus already");
    }
}

SettingsPortal::~SettingsPortal() { QDBusConnection::disconnectFromBus(m_bus.name()); }

void SettingsPortal::answerNow() {
    for (const QDBusMessage& question : m_unanswered) {
        answer(question);
    }
    m_unanswered.clear();
}

void SettingsPortal::stepDown() { m_bus.unregisterService(serviceName(m_seat)); }

void SettingsPortal::change(const QString& group, const QString& key, const QVariant& value) {
    tell({group, key, QVariant::fromValue(QDBusVariant(value))});
}

void SettingsPortal::tell(const QVariantList& arguments) {
    auto signal = QDBusMessage::createSignal(path, interfaceName(m_seat), u"SettingChanged"_qs);
    signal.setArguments(arguments);
    m_bus.send(signal);
}

void SettingsPortal::ReadAll(const QStringList& groups, const QDBusMessage& message) {
    m_questions << groups;
    message.setDelayedReply(true);
    if (m_manner == Manner::staysSilent) {
        m_unanswered << message;
    } else if (m_manner == Manner::fails) {
        m_bus.send(message.createErrorReply(QDBusError::Failed, u"no backend"_qs));
    } else {
        answer(message);
    }
}

void SettingsPortal::answer(const QDBusMessage& question) {
    m_bus.send(question.createReply(m_answer));
}

} // namespace lumivane::test
