#include "platform/linux/DesktopUrlOpener.h"

#include <QProcess>

#include <pthread.h>
#include <signal.h>

#include <utility>

namespace lumivane {

namespace {

bool isOfTheWeb(const QUrl& url) {
    const QString scheme = url.scheme();
    return url.isValid() && !url.host().isEmpty() && (scheme == u"http" || scheme == u"https");
}

/// Runs in the new process. The main thread keeps signals from itself, and a program that inherits
/// that cannot be ended by its user.
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
    if (!isOfTheWeb(url)) {
        return false;
    }
    QProcess browser;
    browser.setProgram(m_program);
    browser.setArguments({QString::fromLatin1(url.toEncoded())});
    browser.setProcessEnvironment(m_environment);
    browser.setChildProcessModifier(letSignalsThrough);
    for (const auto set : {&QProcess::setStandardOutputFile, &QProcess::setStandardErrorFile}) {
        (browser.*set)(QProcess::nullDevice(), QIODevice::Truncate);
    }
    browser.setStandardInputFile(QProcess::nullDevice());
    return browser.startDetached();
}

} // namespace lumivane
