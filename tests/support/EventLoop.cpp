#include "support/EventLoop.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QEventLoop>
#include <QObject>
#include <QTimer>

namespace lumivane::test {

namespace {

class DeliveryCounter final : public QObject {
public:
    DeliveryCounter() { QCoreApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject*, QEvent*) override {
        ++deliveries;
        return false;
    }

    int deliveries = 0;
};

} // namespace

void drainEvents() {
    DeliveryCounter counter;
    // One round leaves what it posts itself to the next.
    do {
        counter.deliveries = 0;
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    } while (counter.deliveries > 0);
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
