#include "platform/linux/SessionEnd.h"

#include "async/MainThread.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPointer>
#include <QSessionManager>

#include <X11/ICE/ICElib.h>

#include <utility>

namespace lumivane {

namespace {

/// The library calls back with the connection alone, which the toolkit owns.
QPointer<SessionEnd>& sessionEnd() {
    static QPointer<SessionEnd> only;
    return only;
}

} // namespace

SessionEnd::SessionEnd(QGuiApplication& application, std::function<void()> onEnd)
    : m_onEnd(std::move(onEnd)) {
    connect(&application, &QGuiApplication::commitDataRequest, this, &SessionEnd::answer,
            Qt::DirectConnection);
    connect(&application, &QGuiApplication::saveStateRequest, this, &SessionEnd::answer,
            Qt::DirectConnection);
    application.installEventFilter(this);
    sessionEnd() = this;
    // The library's own way, when the session manager has gone, is to end the process on the spot.
    IceSetIOErrorHandler([](IceConn) {
        if (sessionEnd()) {
            sessionEnd()->end();
        }
    });
}

SessionEnd::~SessionEnd() {
    sessionEnd().clear();
    IceSetIOErrorHandler(nullptr);
}

void SessionEnd::answer(QSessionManager& manager) {
    manager.setRestartHint(QSessionManager::RestartNever);
}

bool SessionEnd::eventFilter(QObject* watched, QEvent* event) {
    // The toolkit quits by itself, as if the program had called `quit`, when the session manager
    // says to go. Events that are not spontaneous come from elsewhere.
    if (event->type() != QEvent::Quit || !event->spontaneous() || m_hasEnded) {
        return QObject::eventFilter(watched, event);
    }
    end();
    return true;
}

void SessionEnd::end() {
    if (!std::exchange(m_hasEnded, true)) {
        postToMainThread([guard = QPointer(this)] {
            if (guard) {
                guard->m_onEnd();
            }
        });
    }
}

} // namespace lumivane
