#include "accounts/AuthenticationCoordinator.h"

#include "accounts/AccountVocabulary.h"

#include <QTimeZone>

#include <utility>

namespace lumivane {

namespace {

AuthenticationState initialState(AuthenticationStart start) {
    return start == AuthenticationStart::restoring ? AuthenticationState::restoring()
                                                   : AuthenticationState::signedOut();
}

/// No service knows these tokens, and no clock of a test outlives them.
AuthCredentials placeholder(const UserSummary& user) {
    const QDateTime farFuture(QDate(9999, 12, 31), QTime(0, 0), QTimeZone::utc());
    return {SecretText("placeholder-access"),
            SecretText("placeholder-refresh"),
            u"Bearer"_qs,
            farFuture,
            farFuture,
            user};
}

} // namespace

bool AuthenticationSeeds::isEmpty() const {
    return !user && !credentials && !enabledProviders && !devices && !devicesState && !handle &&
           !takeover;
}

AuthenticationCoordinator::AuthenticationCoordinator(const AuthenticationPorts& ports,
                                                     AuthenticationStart start,
                                                     const AuthenticationSeeds& seeds)
    : m_status(initialState(start))
    , m_keeper(ports, m_status)
    , m_authorization(ports, m_status, m_keeper)
    , m_takeover(ports, m_status, m_keeper, m_authorization)
    , m_deletion(ports, m_status, m_keeper, m_authorization)
    , m_changes(m_keeper)
    , m_linked(ports, m_status, m_keeper, m_authorization, m_changes)
    , m_handleField(ports, m_status, m_keeper, m_changes)
    , m_displayNameField(ports, m_status, m_keeper, m_changes)
    , m_isTestingSeeded(!seeds.isEmpty()) {
    m_keeper.onForgetting = [this] { forget(); };
    m_authorization.onTakeoverRequired = [this](const DeviceTakeoverRequired& required,
                                                AuthProvider provider, std::uint64_t generation) {
        m_takeover.enter(required, provider, generation);
    };
    m_authorization.onDeleteProof = [this](DeleteReauthentication proof, std::uint64_t generation,
                                           std::stop_token stop) {
        return m_deletion.finish(std::move(proof), generation, std::move(stop));
    };
    m_authorization.onDeleteFailure = [this] { m_deletion.showFailure(); };
    if (m_isTestingSeeded) {
        seed(seeds);
    }
}

void AuthenticationCoordinator::setOnSessionCleared(std::function<void()> handler) {
    m_keeper.onSessionCleared = std::move(handler);
}

void AuthenticationCoordinator::seed(const AuthenticationSeeds& seeds) {
    const auto every = allCases<AuthProvider>();
    m_status.setProviderAvailability(ProviderAvailability::available(
        seeds.enabledProviders.value_or(std::vector<AuthProvider>(every.begin(), every.end()))));
    const auto unnamed = seeds.devices ? DeviceListState::loaded : DeviceListState::idle;
    m_status.setDevices(seeds.devices.value_or(std::vector<LinkedDevice>()),
                        seeds.devicesState.value_or(unnamed));
    if (seeds.handle) {
        m_status.setHandleState(*seeds.handle);
    }
    if (seeds.credentials) {
        m_keeper.seed(*seeds.credentials);
    } else if (seeds.user) {
        m_keeper.seed(placeholder(*seeds.user));
    }
    if (seeds.takeover) {
        m_takeover.seed(*seeds.takeover);
    }
}

/// The order in which the parts let go of a session.
void AuthenticationCoordinator::forget() {
    m_deletion.forget();
    m_handleField.forget();
    m_displayNameField.forget();
    m_takeover.forget();
    m_status.setDevices({}, DeviceListState::idle);
    m_status.setDeviceActionInFlight(std::nullopt);
    m_status.setTakeoverInFlight(false);
}

QCoro::Task<void> AuthenticationCoordinator::restore() { return m_keeper.restore(); }

QCoro::Task<SecretText>
AuthenticationCoordinator::validAccessToken(std::chrono::seconds minimumValidity,
                                            std::stop_token stop) {
    return m_keeper.validAccessToken(minimumValidity, UnlockPrompt::never, std::move(stop));
}

QCoro::Task<bool> AuthenticationCoordinator::handleUnauthorized() {
    return m_keeper.handleUnauthorized();
}

QCoro::Task<void> AuthenticationCoordinator::signOutLocallyAfterEviction() {
    return m_keeper.signOutLocallyAfterEviction();
}

QCoro::Task<void> AuthenticationCoordinator::retryRestore() { return m_keeper.retryRestore(); }

QCoro::Task<void> AuthenticationCoordinator::signOut() { return m_keeper.signOut(); }

QCoro::Task<void> AuthenticationCoordinator::loadProviders(Loading loading) {
    return m_linked.loadProviders(loading);
}

QCoro::Task<void> AuthenticationCoordinator::signIn(AuthProvider provider) {
    return m_linked.signIn(provider);
}

void AuthenticationCoordinator::cancelLogin() { m_authorization.cancel(); }

QCoro::Task<void> AuthenticationCoordinator::confirmTakeover() { return m_takeover.confirm(); }

void AuthenticationCoordinator::cancelTakeover() { m_takeover.cancel(); }

QCoro::Task<void> AuthenticationCoordinator::deleteAccount(AuthProvider provider) {
    return m_deletion.deleteAccount(provider);
}

QCoro::Task<void> AuthenticationCoordinator::retryAccountDeletion() { return m_deletion.retry(); }

QCoro::Task<void> AuthenticationCoordinator::link(AuthProvider provider) {
    return m_linked.link(provider);
}

QCoro::Task<void> AuthenticationCoordinator::unlink(AuthProvider provider) {
    return m_linked.unlink(provider);
}

QCoro::Task<void> AuthenticationCoordinator::loadDevices(Loading loading) {
    return m_linked.loadDevices(loading);
}

QCoro::Task<void> AuthenticationCoordinator::primeHandleFilter(Loading loading) {
    if (!m_isTestingSeeded) {
        co_await m_handleField.primeFilter(loading);
    }
}

void AuthenticationCoordinator::handleDraftChanged(const QString& draft) {
    m_handleField.draftChanged(draft);
}

QCoro::Task<void> AuthenticationCoordinator::commitHandle(const QString& draft) {
    return m_handleField.commit(draft);
}

void AuthenticationCoordinator::revertHandle(const QString& draft) { m_handleField.revert(draft); }

QCoro::Task<void> AuthenticationCoordinator::commitDisplayName(const QString& draft) {
    return m_displayNameField.commit(draft);
}

void AuthenticationCoordinator::revertDisplayName() { m_displayNameField.revert(); }

} // namespace lumivane
