#include "platform/linux/TerminationSignals.h"

#include <QSocketNotifier>

#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>
#include <utility>

namespace lumivane {

namespace {

constexpr std::array terminationSignals{SIGTERM, SIGINT, SIGHUP};

/// Counts the signals. Never closed: a handler may be about to write to it.
std::atomic<int> counter{-1};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void countSignal(int /*number*/) {
    const int before = errno;
    const std::uint64_t one = 1;
    // It fails only where so many are counted already that one more says nothing.
    [[maybe_unused]] const ssize_t size = ::write(counter, &one, sizeof one);
    errno = before;
}

void openCounter() {
    if (counter < 0) {
        counter = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    }
    if (counter < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

void takeCount() {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t size = ::read(counter, &count, sizeof count);
}

} // namespace

void TerminationSignals::unblock() {
    sigset_t signalSet;
    sigemptyset(&signalSet);
    for (const int number : terminationSignals) {
        sigaddset(&signalSet, number);
    }
    pthread_sigmask(SIG_UNBLOCK, &signalSet, nullptr);
}

TerminationSignals::TerminationSignals(std::function<void()> onTerminate)
    : m_onTerminate(std::move(onTerminate)) {
    openCounter();
    auto* notifier = new QSocketNotifier(counter, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        takeCount();
        m_onTerminate();
    });

    struct sigaction action {};

    action.sa_handler = countSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : terminationSignals) {
        ::sigaction(number, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals() = default;

} // namespace lumivane
