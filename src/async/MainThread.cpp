#include "async/MainThread.h"

#include <QCoreApplication>
#include <QThread>

#include <utility>

namespace lumivane {

void postToMainThread(std::function<void()> work) {
    if (QCoreApplication* application = QCoreApplication::instance()) {
        QMetaObject::invokeMethod(application, std::move(work), Qt::QueuedConnection);
    }
}

bool isMainThread() {
    const QCoreApplication* application = QCoreApplication::instance();
    return application != nullptr && QThread::currentThread() == application->thread();
}

} // namespace lumivane
