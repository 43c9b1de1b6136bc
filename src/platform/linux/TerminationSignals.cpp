#include "platform/linux/TerminationSignals.h"

#include <QSocketNotifier>

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

namespace lumivane {

namespace {

sigset_t terminationSignals() {
    sigset_t signalSet;
    sigemptyset(&signalSet);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&signalSet, number);
    }
    return signalSet;
}

} // namespace

void TerminationSignals::block() {
    const sigset_t signalSet = terminationSignals();
    pthread_sigmask(SIG_BLOCK, &signalSet, nullptr);
}

TerminationSignals::TerminationSignals(std::function<void()> onTerminate)
    : m_onTerminate(std::move(onTerminate)) {
    const sigset_t signalSet = terminationSignals();
    m_descriptor = signalfd(-1, &signalSet, SFD_CLOEXEC | SFD_NONBLOCK);
    auto* notifier = new QSocketNotifier(m_descriptor, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo received;
        while (read(m_descriptor, &received, sizeof received) == sizeof received) {
        }
        m_onTerminate();
    });
}

TerminationSignals::~TerminationSignals() {
    qDeleteAll(children());
    close(m_descriptor);
}

} // namespace lumivane
