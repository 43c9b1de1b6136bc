#include "platform/linux/DesktopUserNotifications.h"

#include "async/Cancelled.h"

#include <QDBusError>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QStringList>
#include <QVariantMap>

#include <algorithm>
#include <utility>

namespace lumivane {

namespace {

const auto entryName = u"com.marnoth.Lumivane"_qs;

constexpr uchar normalUrgency = 1;
constexpr int timeOfTheDesktopsChoice = -1;

QDBusMessage question(const QString& operation) {
    return QDBusMessage::createMethodCall(u"org.freedesktop.Notifications"_qs,
                                          u"/org/freedesktop/Notifications"_qs,
                                          u"org.freedesktop.Notifications"_qs, operation);
}

/// Neither the bus nor markup can carry most control characters, and none of them shows.
QString withoutControls(QString text) {
    text.replace(u"\r\n"_qs, u"\n"_qs);
    for (QChar& character : text) {
        const bool isKept = character == u'\n' || character == u'\t';
        if (character.category() == QChar::Other_Control && !isKept) {
            character = QChar(QChar::ReplacementCharacter);
        }
    }
    return text;
}

QVariantMap hints(UserNotification::Keeping keeping) {
    return {{u"desktop-entry"_qs, entryName},
            {u"urgency"_qs, QVariant::fromValue(normalUrgency)},
            {u"suppress-sound"_qs, true},
            {u"transient"_qs, keeping == UserNotification::Keeping::untilSeen}};
}

QDBusMessage notifying(const UserNotification& notification, const QStringList& capabilities) {
    const QString words = withoutControls(notification.body);
    const QString body = capabilities.contains(u"body-markup"_qs) ? words.toHtmlEscaped() : words;
    QDBusMessage message = question(u"Notify"_qs);
    const uint replacesNone = 0;
    message << u"Lumivane"_qs << replacesNone << entryName << withoutControls(notification.title)
            << body << QStringList() << hints(notification.keeping) << timeOfTheDesktopsChoice;
    return message;
}

bool saysThatNobodyServes(const QDBusMessage& answer) {
    const QString name = answer.errorName();
    return name == QDBusError::errorString(QDBusError::ServiceUnknown) ||
           name == u"org.freedesktop.DBus.Error.NameHasNoOwner" ||
           name.startsWith(u"org.freedesktop.DBus.Error.Spawn.");
}

QStringList capabilitiesIn(const QDBusMessage& answer) {
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != u"as") {
        throw UserNotificationError("the notification service does not say what it can show");
    }
    return answer.arguments().constFirst().toStringList();
}

} // namespace

DesktopUserNotifications::DesktopUserNotifications(QDBusConnection bus, Clock& clock)
    : m_bus(std::move(bus))
    , m_clock(clock) {}

DesktopUserNotifications::~DesktopUserNotifications() {
    for (const Call& call : m_calls) {
        call.answer.cancel();
    }
}

QCoro::Task<bool> DesktopUserNotifications::requestAuthorization() {
    const auto capabilities = ask(question(u"GetCapabilities"_qs), m_clock.now() + patience);
    const QDBusMessage answer = co_await capabilities.wait(std::stop_token());
    if (saysThatNobodyServes(answer)) {
        co_return false;
    }
    capabilitiesIn(answer);
    co_return true;
}

QCoro::Task<void> DesktopUserNotifications::add(UserNotification notification) {
    return deliver(this, std::move(notification));
}

QCoro::Task<void> DesktopUserNotifications::deliver(Self self, UserNotification notification) {
    const MonotonicInstant limit = self->m_clock.now() + patience;
    // Asked each time: another service may have taken the place of the last one.
    const auto capabilities = self->ask(question(u"GetCapabilities"_qs), limit);
    const QStringList known = capabilitiesIn(co_await capabilities.wait(std::stop_token()));
    if (!self) {
        throw Cancelled{};
    }
    const auto taken = self->ask(notifying(notification, known), limit);
    const QDBusMessage answer = co_await taken.wait(std::stop_token());
    if (answer.type() != QDBusMessage::ReplyMessage) {
        throw UserNotificationError("the notification service refused");
    }
}

Completion<QDBusMessage> DesktopUserNotifications::ask(const QDBusMessage& question,
                                                       MonotonicInstant limit) {
    if (!m_bus.isConnected()) {
        throw UserNotificationError("there is no session bus");
    }
    if (isHung()) {
        throw UserNotificationError("the notification service has not answered yet");
    }
    const auto place = m_calls.emplace(m_calls.end());
    Call& call = *place;
    call.timeUp = m_clock.after(limit - m_clock.now(), [&call] {
        call.isOverdue = true;
        call.answer.failWith(UserNotificationError("the notification service does not answer"));
    });
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, place] {
        place->answer.resolve(watcher->reply());
        watcher->deleteLater();
        m_calls.erase(place);
    });
    return call.answer;
}

bool DesktopUserNotifications::isHung() const {
    return std::any_of(m_calls.begin(), m_calls.end(),
                       [](const Call& call) { return call.isOverdue; });
}

} // namespace lumivane
