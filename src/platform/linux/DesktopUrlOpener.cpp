#include "platform/linux/DesktopUrlOpener.h"

#include <QProcess>
#include <QStandardPaths>

#include <pthread.h>
#include <signal.h>

#include <utility>

namespace lumivane {

namespace {

constexpr int longestStart = 1000; ///< milliseconds; it takes 5 or so

bool isOfTheWeb(const QUrl& url) {
    const QString scheme = url.scheme();
    return url.isValid() && !url.host().isEmpty() && (scheme == u"http" || scheme == u"https");
}

/// Runs in the new process. A program that inherits signals that are held back cannot be ended by
/// its user.
void letSignalsThrough() {
    sigset_t none;
    ::sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

} // namespace

DesktopUrlOpener::DesktopUrlOpener(const QProcessEnvironment& environment, QString program)
    : m_environment(environment)
    , m_program(std::move(program)) {}

bool DesktopUrlOpener::open(const QUrl& url) {
    const QString program = QStandardPaths::findExecutable(m_program);
    if (program.isEmpty() || !isOfTheWeb(url)) {
        return false;
    }
    // The toolkit's own way to start what lives on its own leaves such signals held back. This
    // program ends as soon as the other one is on its own.
    QProcess starter;
    starter.setProcessEnvironment(m_environment);
    starter.setChildProcessModifier(letSignalsThrough);
    starter.setStandardInputFile(QProcess::nullDevice());
    starter.setStandardOutputFile(QProcess::nullDevice());
    starter.setStandardErrorFile(QProcess::nullDevice());
    starter.start(u"setsid"_qs, {u"--fork"_qs, program, QString::fromLatin1(url.toEncoded())});
    return starter.waitForFinished(longestStart) && starter.exitStatus() == QProcess::NormalExit &&
           starter.exitCode() == 0;
}

} // namespace lumivane
