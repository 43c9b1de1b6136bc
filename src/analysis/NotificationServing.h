#pragma once

#include <QString>
#include <qcoro/qcorotask.h>

namespace lumivane {

/// The desktop's notifications. Main thread; nothing here fails.
class NotificationServing {
public:
    virtual ~NotificationServing() = default;

    /// Whether notifications may be sent.
    virtual QCoro::Task<bool> requestAuthorization() = 0;
    virtual QCoro::Task<void> notifyCopied() = 0;
    virtual QCoro::Task<void> notifyNotesFailure(QString message) = 0;
};

} // namespace lumivane
