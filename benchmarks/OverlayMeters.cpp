#include "OverlayMeters.h"

#include <QDir>
#include <QEvent>
#include <QFile>
#include <QQuickWindow>

#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace lumivane::bench {

bool MeteredApplication::notify(QObject* receiver, QEvent* event) {
    auto* window = qobject_cast<QQuickWindow*>(receiver);
    if (window != nullptr && event->type() == QEvent::Show) {
        connect(window, &QQuickWindow::frameSwapped, this,
                [this] { frame = frame.value_or(meterNow()); });
        connect(window, &QQuickWindow::beforeSynchronizing, this, [this] { ++syncs; });
    }
    if (m_isInside) {
        return QGuiApplication::notify(receiver, event);
    }
    m_isInside = true;
    const MonotonicInstant begin = meterNow();
    const bool isHandled = QGuiApplication::notify(receiver, event);
    longest = std::max(longest, milliseconds(meterNow() - begin));
    m_isInside = false;
    return isHandled;
}

std::unique_ptr<ClockTimer> MeteredClock::after(std::chrono::nanoseconds delay,
                                                std::function<void()> callback) {
    return m_clock.after(delay, std::move(callback));
}

std::unique_ptr<ClockTimer> MeteredClock::every(std::chrono::nanoseconds interval,
                                                std::function<void()> callback) {
    return m_clock.every(interval, [this, callback = std::move(callback)] {
        const MonotonicInstant begin = now();
        callback();
        ticks.add(milliseconds(now() - begin));
    });
}

double residentKiB() {
    QFile file(u"/proc/self/statm"_qs);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("no memory figures");
    }
    return file.readAll().split(' ').at(1).toDouble() * double(sysconf(_SC_PAGESIZE)) / 1024;
}

int openFiles() {
    return int(QDir(u"/proc/self/fd"_qs).entryList(QDir::AllEntries | QDir::System).size());
}

bool tell(bool isMet, const char* words) {
    std::printf("%s: %s\n", words, isMet ? "met" : "MISSED");
    std::fflush(stdout);
    return isMet;
}

} // namespace lumivane::bench
