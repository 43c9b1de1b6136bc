#include "analysis/NotificationService.h"

#include "telemetry/LumivaneLog.h"

#include <QUuid>

#include <exception>
#include <utility>

namespace lumivane {

namespace {

QString newIdentifier() { return QUuid::createUuid().toString(QUuid::WithoutBraces); }

} // namespace

QCoro::Task<bool> NotificationService::requestAuthorization() {
    try {
        co_return co_await m_notifications.requestAuthorization();
    } catch (const std::exception&) {
        LumivaneLog::lifecycle.error("Notification authorization request failed");
    }
    co_return false;
}

QCoro::Task<void> NotificationService::notifyCopied() {
    try {
        UserNotification copied{newIdentifier(), u"Lumivane"_qs,
                                u"The analysis was copied to the clipboard."_qs,
                                UserNotification::Keeping::untilSeen};
        co_await m_notifications.add(std::move(copied));
    } catch (const std::exception&) {
        LumivaneLog::lifecycle.error("Copy notification could not be delivered");
    }
}

QCoro::Task<void> NotificationService::notifyNotesFailure(QString message) {
    try {
        UserNotification failure{newIdentifier(), u"Lumivane couldn’t save to Notes"_qs,
                                 std::move(message), UserNotification::Keeping::byTheDesktop};
        co_await m_notifications.add(std::move(failure));
    } catch (const std::exception&) {
        LumivaneLog::lifecycle.error("Notes failure notification could not be delivered");
    }
}

} // namespace lumivane
