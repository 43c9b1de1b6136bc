#include "support/EventLoop.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace lumivane::test {

void drainEvents() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const QDeadlineTimer deadline(limit);
    QTimer wake; // so that a condition changed by another thread or process is looked at
    wake.start(std::chrono::milliseconds(5));
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace lumivane::test
