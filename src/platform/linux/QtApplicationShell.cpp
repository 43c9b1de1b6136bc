#include "platform/linux/QtApplicationShell.h"

#include "async/MainThread.h"

#include <QGuiApplication>

#include <utility>

namespace lumivane {

QtApplicationShell::QtApplicationShell(std::function<QPalette(Appearance)> paletteFor)
    : m_paletteFor(std::move(paletteFor)) {}

void QtApplicationShell::setAppearance(Appearance appearance) {
    QGuiApplication::setPalette(m_paletteFor(appearance));
}

void QtApplicationShell::terminate() {
    // Behind what was cancelled, so that it unwinds before anything it stands on goes. Not with
    // `quit`, which is how the end of the session is told: see SessionEnd.
    postToMainThread([] { QCoreApplication::exit(); });
}

} // namespace lumivane
