#pragma once

#include "analysis/NotificationServing.h"
#include "platform/UserNotifications.h"

namespace lumivane {

/// What the program tells through the desktop's notifications, and in which words. Main thread.
///
/// A notification that the desktop does not take is logged, without its words, and forgotten.
class NotificationService final : public NotificationServing {
public:
    /// `notifications` outlives every flow that was begun here; the service itself need not.
    explicit NotificationService(UserNotifications& notifications)
        : m_notifications(notifications) {}

    QCoro::Task<bool> requestAuthorization() override;
    QCoro::Task<void> notifyCopied() override;

    /// `message` is shown as it is.
    QCoro::Task<void> notifyNotesFailure(QString message) override;

private:
    UserNotifications& m_notifications;
};

} // namespace lumivane
