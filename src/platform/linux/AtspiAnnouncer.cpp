#include "platform/linux/AtspiAnnouncer.h"

#include <QAccessibleObject>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QVariantMap>

#include <chrono>
#include <limits>

namespace lumivane {

namespace {

using std::chrono::milliseconds;

constexpr std::size_t mostAtOnce = 16;
constexpr int mostListeners = 4096;

/// An answer that takes longer says where the words would have been heard, and too late.
constexpr milliseconds longestAnswer{3000};

/// A screen reader comes to ask for the words in its own time, behind all else it was told.
constexpr milliseconds notificationTime{10000};

/// How much assistive technology lets a text interrupt: AtspiLive of the accessibility bus.
enum class Politeness { polite = 1, assertive = 2 };

Politeness politeness(AnnouncementPriority priority) {
    return priority == AnnouncementPriority::high ? Politeness::assertive : Politeness::polite;
}

QDBusMessage announcement(const QString& text, AnnouncementPriority priority) {
    auto signal = QDBusMessage::createSignal(u"/org/a11y/atspi/accessible/root"_qs,
                                             u"org.a11y.atspi.Event.Object"_qs, u"Announcement"_qs);
    signal << QString() << static_cast<int>(politeness(priority)) << 0
           << QVariant::fromValue(QDBusVariant(text)) << QVariantMap();
    return signal;
}

QDBusMessage signOfLife() {
    return QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                                          u"org.freedesktop.DBus.Peer"_qs, u"Ping"_qs);
}

QDBusMessage whoHearsWhat() {
    auto question = QDBusMessage::createMethodCall(
        u"org.a11y.atspi.Registry"_qs, u"/org/a11y/atspi/registry"_qs,
        u"org.a11y.atspi.Registry"_qs, u"GetRegisteredEvents"_qs);
    question.setAutoStartService(false); // whoever listens has started it
    return question;
}

/// "Object:Announcement:" and what takes it in: "Object::", in whatever case the listener chose.
bool takesInAnnouncements(const QString& event) {
    const auto kind = event.section(u':', 1, 1);
    return event.section(u':', 0, 0).compare(u"object", Qt::CaseInsensitive) == 0 &&
           (kind.isEmpty() || kind.compare(u"announcement", Qt::CaseInsensitive) == 0);
}

/// Whether the registry says clearly that there are listeners, and none of them for announcements.
/// A list too long to be one of screen readers says nothing.
bool leavesAnnouncementsUnheard(const QDBusMessage& answer) {
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != u"a(ss)") {
        return false;
    }
    const auto list = answer.arguments().constFirst().value<QDBusArgument>();
    int listeners = 0;
    bool isHeard = false;
    list.beginArray();
    for (; !list.atEnd() && !isHeard && listeners <= mostListeners; ++listeners) {
        QString listener;
        QString event;
        list.beginStructure();
        list >> listener >> event;
        list.endStructure();
        isHeard = takesInAnnouncements(event);
    }
    return !isHeard && listeners > 0 && listeners <= mostListeners;
}

class NotificationInterface final : public QAccessibleObject {
public:
    NotificationInterface(QObject* object, QString text)
        : QAccessibleObject(object)
        , m_text(std::move(text)) {}

    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(qGuiApp);
    }

    QAccessibleInterface* child(int) const override { return nullptr; }

    int childCount() const override { return 0; }

    int indexOfChild(const QAccessibleInterface*) const override { return -1; }

    QAccessible::Role role() const override { return QAccessible::Notification; }

    QAccessible::State state() const override { return {}; }

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? m_text : QString();
    }

private:
    QString m_text;
};

} // namespace

/// Is there for assistive technology for as long as it lives.
struct AtspiAnnouncer::Notification {
    explicit Notification(const QString& text)
        : interface(new NotificationInterface(&object, text))
        , id(QAccessible::registerAccessibleInterface(interface)) {
        QAccessibleEvent isShown(interface, QAccessible::ObjectShow);
        QAccessible::updateAccessibility(&isShown);
    }

    ~Notification() {
        QAccessibleEvent isHidden(interface, QAccessible::ObjectHide);
        QAccessible::updateAccessibility(&isHidden);
        QAccessible::deleteAccessibleInterface(id);
    }

    Q_DISABLE_COPY_MOVE(Notification)

    QObject object;
    QAccessibleInterface* interface; ///< belongs to the toolkit, under its `id`
    QAccessible::Id id;
    std::unique_ptr<ClockTimer> timeUp;
};

AtspiAnnouncer::AtspiAnnouncer(Clock& clock, const QString& connectionName)
    : m_clock(clock)
    , m_connectionName(connectionName) {}

AtspiAnnouncer::~AtspiAnnouncer() = default;

void AtspiAnnouncer::announce(const QString& text, AnnouncementPriority priority) {
    if (!QAccessible::isActive() || m_unconfirmed >= mostAtOnce) {
        return;
    }
    auto words = text;
    words.replace(QChar(u'\0'), QChar(QChar::ReplacementCharacter));
    QDBusConnection bus(m_connectionName);
    if (!bus.isConnected() || !bus.send(announcement(words, priority))) {
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
    showWhereNobodyHears(words);
}

// Asked anew each time: listeners come and go, and following them would mean to ask the bus who
// the registry is, which the toolkit does by waiting.
void AtspiAnnouncer::showWhereNobodyHears(const QString& text) {
    if (m_unanswered >= mostAtOnce) {
        return;
    }
    ++m_unanswered;
    QDBusConnection bus(m_connectionName);
    const auto answer = bus.asyncCall(whoHearsWhat(), static_cast<int>(longestAnswer.count()));
    auto* watcher = new QDBusPendingCallWatcher(answer, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, text] {
        --m_unanswered;
        watcher->deleteLater();
        if (leavesAnnouncementsUnheard(watcher->reply())) {
            show(text);
        }
    });
}

void AtspiAnnouncer::show(const QString& text) {
    if (m_shown.size() >= mostAtOnce) {
        hideOldest();
    }
    m_shown.emplace_back(text).timeUp = m_clock.after(notificationTime, [this] { hideOldest(); });
}

void AtspiAnnouncer::hideOldest() { m_shown.pop_front(); }

} // namespace lumivane
