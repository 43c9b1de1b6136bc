#pragma once

#include "async/Clock.h"
#include "async/Completion.h"
#include "platform/UserNotifications.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QPointer>

#include <chrono>
#include <list>
#include <memory>
#include <stdexcept>

namespace lumivane {

/// The desktop did not take a notification, or could not be asked. `what()` names the kind of
/// failure, never the words that were to be shown.
class UserNotificationError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Notifications by the desktop's notification service, in the name of the program's desktop entry:
/// of normal urgency, without a sound. Where nobody serves, the bus may start somebody.
///
/// No wait is longer than `patience`. A service that let one pass is hung, most likely: until it
/// answers or the bus gives it up, notifications fail at once, so that a user waits for it one time
/// and not with each. An answer that comes late is dropped; what it confirms may still be shown.
///
/// The waits that are left when this goes end with Cancelled.
class DesktopUserNotifications final : public QObject, public UserNotifications {
public:
    static constexpr std::chrono::seconds patience{2};

    /// `bus` may be without a connection, or lose it: then everything fails. `clock` outlives this.
    DesktopUserNotifications(QDBusConnection bus, Clock& clock);
    ~DesktopUserNotifications() override;

    /// False where nobody shows notifications, nor could be started to.
    QCoro::Task<bool> requestAuthorization() override;

    QCoro::Task<void> add(UserNotification notification) override;

private:
    using Self = QPointer<DesktopUserNotifications>;

    struct Call {
        Completion<QDBusMessage> answer;
        std::unique_ptr<ClockTimer> timeUp;
        bool isOverdue = false;
    };

    static QCoro::Task<void> deliver(Self self, UserNotification notification);

    /// Fails, rather than wait for longer than until `limit`.
    Completion<QDBusMessage> ask(const QDBusMessage& question, MonotonicInstant limit);
    bool isHung() const;

    QDBusConnection m_bus;
    Clock& m_clock;
    std::list<Call> m_calls; ///< which neither the desktop nor the bus has answered
};

} // namespace lumivane
