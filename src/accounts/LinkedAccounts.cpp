#include "accounts/LinkedAccounts.h"

#include "accounts/AuthenticationError.h"
#include "telemetry/LumivaneLog.h"

#include <algorithm>
#include <utility>

namespace lumivane {

namespace {

/// What the service named, in our own order and each once.
std::vector<AuthProvider> inCaseOrder(const std::vector<AuthProvider>& named) {
    std::vector<AuthProvider> ordered;
    for (const AuthProvider provider : allCases<AuthProvider>()) {
        if (std::find(named.begin(), named.end(), provider) != named.end()) {
            ordered.push_back(provider);
        }
    }
    return ordered;
}

} // namespace

LinkedAccounts::LinkedAccounts(const AuthenticationPorts& ports, AccountStatus& status,
                               SessionKeeper& keeper, AccountAuthorization& authorization,
                               UserChanges& changes)
    : m_ports(ports)
    , m_status(status)
    , m_keeper(keeper)
    , m_authorization(authorization)
    , m_changes(changes) {}

QCoro::Task<void> LinkedAccounts::loadProviders(Loading loading) {
    using Case = ProviderAvailability::Case;
    if (loading == Loading::ifNeeded && m_status.providerAvailability().is(Case::available)) {
        co_return;
    }
    m_status.setProviderAvailability(ProviderAvailability::loading());
    const Self self(this);
    const int load = ++m_providerLoad;
    ProviderAvailability found = ProviderAvailability::unavailable();
    try {
        const std::vector<AuthProvider> named =
            co_await m_ports.service.providers(std::stop_token());
        found = ProviderAvailability::available(inCaseOrder(named));
    } catch (const Cancelled&) { // nothing was found out, as with any failure
    } catch (const std::exception&) {
    }
    if (self && self->m_providerLoad == load) {
        self->m_status.setProviderAvailability(found);
    }
}

QCoro::Task<void> LinkedAccounts::signIn(AuthProvider provider) {
    if (m_status.providerAvailability().offers(provider)) {
        co_await m_authorization.authorize(provider, AuthIntent::signIn);
    }
}

QCoro::Task<void> LinkedAccounts::link(AuthProvider provider) {
    if (m_status.providerAvailability().offers(provider)) {
        co_await m_authorization.authorize(provider, AuthIntent::link);
    }
}

QCoro::Task<void> LinkedAccounts::unlink(AuthProvider provider) {
    if (!canUnlink(provider)) {
        co_return;
    }
    const Self self(this);
    const SessionEpoch epoch(m_keeper);
    UserChanges::Change change;
    // Another unlink may have come first and left this login as the only one.
    change.isWanted = [self, provider] { return self && self->canUnlink(provider); };
    change.send = [service = &m_ports.service, provider](const SecretText& token) {
        return service->unlink(provider, token, std::stop_token());
    };
    try {
        co_await m_changes.make(change);
    } catch (const Cancelled&) { // not wanted any more, or the session has gone
    } catch (const AuthenticationError& error) {
        // A refused token ends the session first, and another login may have begun since.
        if (self && epoch.maySpeak()) {
            self->m_status.setErrorMessage(error.errorDescription());
            self->m_keeper.showSignedInUnlessBusy();
        }
    }
}

QCoro::Task<void> LinkedAccounts::loadDevices(Loading loading) {
    const DeviceListState before = m_status.devicesState();
    if (!m_status.state().isSignedIn() ||
        (loading == Loading::ifNeeded && before == DeviceListState::loaded)) {
        co_return;
    }
    m_status.setDevicesState(DeviceListState::loading);
    const Self self(this);
    const SessionEpoch epoch(m_keeper);
    const int load = ++m_deviceLoad;
    const auto isPresent = [self, epoch, load] {
        return self && epoch.stands() && self->m_deviceLoad == load;
    };
    const SessionRequest<LinkedDeviceList> request =
        [service = &m_ports.service](const SecretText& token) {
            return service->devices(token, std::stop_token());
        };
    try {
        LinkedDeviceList list = co_await requestInSession<LinkedDeviceList>(
            epoch, UnlockPrompt::never, request, std::stop_token());
        if (isPresent()) {
            self->adopt(std::move(list));
        }
    } catch (const Cancelled&) {
        if (isPresent()) {
            self->m_status.setDevicesState(
                before == DeviceListState::loading ? DeviceListState::idle : before);
        }
    } catch (const std::exception&) {
        if (isPresent()) {
            self->m_status.setDevicesState(DeviceListState::unavailable);
            self->m_keeper.showSignedInUnlessBusy();
        }
    }
}

bool LinkedAccounts::canUnlink(AuthProvider provider) const {
    const auto& credentials = m_keeper.credentials();
    return credentials && credentials->user.linkedProviders.size() > 1 &&
           credentials->user.isLinked(provider);
}

void LinkedAccounts::adopt(LinkedDeviceList list) {
    const std::int64_t count = std::ssize(list.devices);
    m_status.setDevices(std::move(list.devices), DeviceListState::loaded);
    m_keeper.showSignedInUnlessBusy();
    LumivaneLog::lifecycle.log("Device list loaded; count=%{public}ld", count);
}

} // namespace lumivane
