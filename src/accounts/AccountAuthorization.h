#pragma once

#include "accounts/SessionKeeper.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <optional>
#include <stop_token>

namespace lumivane {

/// One web login from its start to what it yields, for signing in, for linking another provider and
/// for confirming who the user is before an account goes. Main thread only.
class AccountAuthorization final : public QObject {
    Q_OBJECT

public:
    AccountAuthorization(const AuthenticationPorts& ports, AccountStatus& status,
                         SessionKeeper& keeper);
    ~AccountAuthorization() override;

    /// A login that is complete but for a takeover. Set once.
    std::function<void(const DeviceTakeoverRequired&, AuthProvider, std::uint64_t generation)>
        onTakeoverRequired;

    /// The user has proved who they are; finishes the deletion or throws. Set once.
    std::function<QCoro::Task<void>(DeleteReauthentication, std::uint64_t generation,
                                    std::stop_token stop)>
        onDeleteProof;

    /// A re-authentication failed otherwise than by being given up. Set once.
    std::function<void()> onDeleteFailure;

    /// Runs the login. How it ended stands in the status; nothing is thrown. Whatever comes after
    /// the session has changed is dropped. One login at a time: another call takes the place of one
    /// that is not complete yet, and that one then ends without touching anything.
    QCoro::Task<void> authorize(AuthProvider provider, AuthIntent intent);

    /// The user has given up the login under way: it ends, and the state before it shows again
    /// without a message. Does nothing once the login is complete, or when none is under way.
    void cancel();

    struct Device {
        std::optional<DeviceRegistration> registration; ///< none when the keyring does not say
        KeyringTrouble keyring = KeyringTrouble::none;  ///< why
    };

    /// What the service is told of this machine.
    QCoro::Task<Device> device(std::stop_token stop);

private:
    using Self = QPointer<AccountAuthorization>;

    struct Login;

    void showFormerState();

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    SessionKeeper& m_keeper;
    std::stop_source m_login{std::nostopstate}; ///< of the login that is not complete yet
    std::optional<AuthProvider> m_underWay;     ///< its provider
    std::stop_source m_life;
};

} // namespace lumivane
