#include "platform/linux/DesktopUrlOpener.h"

#include "platform/linux/CoreDumps.h"

#include <QProcess>
#include <QStandardPaths>

#include <pthread.h>
#include <signal.h>

#include <memory>
#include <utility>

namespace lumivane {

namespace {

constexpr int longestStart = 1000; ///< milliseconds, to become the other program; it takes 5 or so

bool isOfTheWeb(const QUrl& url) {
    const QString scheme = url.scheme();
    return url.isValid() && !url.host().isEmpty() && (scheme == u"http" || scheme == u"https");
}

/// Runs in the new process. A program that inherits signals that are held back cannot be ended by
/// its user, and how it crashes is its own affair.
void dropWhatIsOurs() {
    CoreDumps::allowAgain();
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
    // program ends as soon as the other one is on its own, which is not waited for.
    auto starter = std::make_unique<QProcess>();
    QObject::connect(starter.get(), &QProcess::finished, starter.get(), &QObject::deleteLater);
    starter->setProcessEnvironment(m_environment);
    starter->setChildProcessModifier(dropWhatIsOurs);
    starter->setStandardInputFile(QProcess::nullDevice());
    starter->setStandardOutputFile(QProcess::nullDevice());
    starter->setStandardErrorFile(QProcess::nullDevice());
    starter->start(u"setsid"_qs, {u"--fork"_qs, program, QString::fromLatin1(url.toEncoded())});
    if (!starter->waitForStarted(longestStart)) {
        return false;
    }
    // NOLINTNEXTLINE(bugprone-unused-return-value): it goes with its process
    (void)starter.release();
    return true;
}

} // namespace lumivane
