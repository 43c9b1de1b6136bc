#include "accounts/DeviceTakeover.h"

#include "accounts/AuthenticationError.h"
#include "async/Cancelled.h"
#include "telemetry/LumivaneLog.h"

#include <chrono>
#include <exception>
#include <utility>

namespace lumivane {

namespace {

using Case = AuthenticationError::Case;

QString takeoverExpiredMessage() {
    return u"The confirmation window closed. Log in again to try."_qs;
}

std::chrono::nanoseconds remaining(const Clock& clock, const QDateTime& date) {
    constexpr double millisecondsPerSecond = 1000;
    return secondsToDuration(double(clock.wallNow().msecsTo(date)) / millisecondsPerSecond);
}

} // namespace

/// One yes of the user. Copies are one and the same.
struct DeviceTakeover::Confirmation {
    Self owner;
    DeviceTakeoverContext context;
    std::uint64_t generation;
    std::uint64_t number;
    std::stop_token stop;

    static QCoro::Task<void> run(Confirmation confirmation);
    static QCoro::Task<void> move(Confirmation confirmation);

    bool isPresent() const { return owner && owner->m_keeper.generation() == generation; }

    void requirePresence() const {
        if (!isPresent()) {
            throw Cancelled{};
        }
    }

    /// Whether the question that was answered is still on the screen.
    bool isAsked() const { return owner->m_status.state().takeoverContext() == context; }

    bool isOver() const { return context.expiresAt <= owner->m_ports.clock.wallNow(); }

    void showFailure(const std::exception_ptr& failure) const;
    void showTrouble(const AuthenticationError& error) const;
};

DeviceTakeover::DeviceTakeover(const AuthenticationPorts& ports, AccountStatus& status,
                               SessionKeeper& keeper, AccountAuthorization& authorization)
    : m_ports(ports)
    , m_status(status)
    , m_keeper(keeper)
    , m_authorization(authorization) {}

DeviceTakeover::~DeviceTakeover() { m_life.request_stop(); }

void DeviceTakeover::enter(const DeviceTakeoverRequired& required, AuthProvider provider,
                           std::uint64_t generation) {
    m_status.setDevices({}, DeviceListState::idle);
    m_status.setErrorMessage(std::nullopt);
    m_status.setState(AuthenticationState::deviceTakeover(
        {required.takeoverTicket, required.expiresAt, provider, required.currentDevice}));
    scheduleExpiry(required.expiresAt, generation);
    LumivaneLog::lifecycle.log("Login needs a device takeover; kind=%{public}s",
                               required.currentDevice.kind);
}

QCoro::Task<void> DeviceTakeover::confirm() {
    const auto context = m_status.state().takeoverContext();
    if (!context || context->expiresAt <= m_ports.clock.wallNow()) {
        expire();
        co_return;
    }
    const Confirmation confirmation{this, *context, m_keeper.generation(), ++m_lastConfirmation,
                                    m_life.get_token()};
    // The keyring may ask the user something before the request goes out.
    m_status.setTakeoverInFlight(true);
    co_await Confirmation::run(confirmation);
}

void DeviceTakeover::cancel() {
    if (m_status.state().takeoverContext()) {
        finish(std::nullopt);
    }
}

void DeviceTakeover::seed(DeviceTakeoverContext context) {
    m_status.setState(AuthenticationState::deviceTakeover(std::move(context)));
}

void DeviceTakeover::forget() { m_expiryTask = {}; }

void DeviceTakeover::scheduleExpiry(const QDateTime& at, std::uint64_t generation) {
    m_expiryTask = TaskHandle::start(
        [self = Self(this), &clock = m_ports.clock, at, generation](std::stop_token stop) {
            return expireAt(self, clock, at, generation, std::move(stop));
        });
}

QCoro::Task<void> DeviceTakeover::expireAt(Self self, Clock& clock, QDateTime at,
                                           std::uint64_t generation, std::stop_token stop) {
    // A sleep knows nothing of a wall clock that is set back meanwhile.
    do {
        co_await clock.sleep(remaining(clock, at), stop);
    } while (clock.wallNow() < at);
    if (self && !stop.stop_requested() && self->m_keeper.generation() == generation) {
        self->expire();
    }
}

void DeviceTakeover::expire() {
    if (m_status.state().takeoverContext()) {
        finish(takeoverExpiredMessage());
    }
}

void DeviceTakeover::finish(std::optional<QString> message) {
    forget();
    m_status.setDevices({}, DeviceListState::idle);
    m_status.setDeviceActionInFlight(std::nullopt);
    m_status.setTakeoverInFlight(false);
    // A login that was answered late may be held behind the question of another one.
    if (!m_keeper.showSignedIn()) {
        m_status.setState(AuthenticationState::signedOut());
    }
    m_status.setErrorMessage(std::move(message));
}

QCoro::Task<void> DeviceTakeover::Confirmation::run(Confirmation confirmation) {
    std::exception_ptr failure;
    try {
        co_await move(confirmation);
    } catch (...) {
        failure = std::current_exception();
    }
    const Self& owner = confirmation.owner;
    if (owner && owner->m_lastConfirmation == confirmation.number) {
        owner->m_status.setTakeoverInFlight(false);
    }
    if (failure && confirmation.isPresent()) {
        confirmation.showFailure(failure);
    }
}

QCoro::Task<void> DeviceTakeover::Confirmation::move(Confirmation confirmation) {
    const Self& owner = confirmation.owner;
    const auto device = co_await owner->m_authorization.device(confirmation.stop);
    confirmation.requirePresence();
    if (!confirmation.isAsked()) {
        co_return;
    }
    if (confirmation.isOver()) {
        owner->expire();
        co_return;
    }
    if (!device.registration || !device.registration->isComplete()) {
        throw AuthenticationError(Case::deviceRequired, device.keyring);
    }
    const AuthCredentials login = co_await owner->m_ports.service.takeover(
        confirmation.context.ticket, *device.registration, confirmation.stop);
    confirmation.requirePresence();
    if (!confirmation.isAsked()) {
        LumivaneLog::lifecycle.log("A takeover answer came after its window had closed");
    }
    co_await owner->m_keeper.adopt(login, confirmation.generation, confirmation.stop);
    confirmation.requirePresence();
    owner->forget();
    LumivaneLog::lifecycle.log("Device takeover confirmed; this Mac now holds the account");
}

void DeviceTakeover::Confirmation::showFailure(const std::exception_ptr& failure) const {
    try {
        std::rethrow_exception(failure);
    } catch (const Cancelled&) {
        return;
    } catch (const AuthenticationError& error) {
        showTrouble(error);
    } catch (const std::exception&) {
        showTrouble(Case::unavailable); // it has no words for a user
    }
}

void DeviceTakeover::Confirmation::showTrouble(const AuthenticationError& error) const {
    // A question or a login that came after this one is none of its business.
    if (!isAsked() && !owner->m_status.state().is(AuthenticationState::Case::signedOut)) {
        return;
    }
    if (error.errorCase == Case::expiredSession) {
        owner->expire();
    } else {
        owner->finish(error.errorDescription());
    }
}

} // namespace lumivane
