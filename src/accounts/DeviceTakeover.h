#pragma once

#include "accounts/AccountAuthorization.h"
#include "async/TaskHandle.h"

namespace lumivane {

/// Moves the account to this machine once the user has said so, within the time that the service
/// gives. Main thread only.
class DeviceTakeover final : public QObject {
    Q_OBJECT

public:
    DeviceTakeover(const AuthenticationPorts& ports, AccountStatus& status, SessionKeeper& keeper,
                   AccountAuthorization& authorization);

    /// Puts the question to the user and starts the clock.
    void enter(const DeviceTakeoverRequired& required, AuthProvider provider,
               std::uint64_t generation);

    QCoro::Task<void> confirm();
    void cancel();

    /// Starts out with this question, for tests of the views; its time never runs out.
    void seed(DeviceTakeoverContext context);

    /// Stops the clock: the session goes.
    void forget();

private:
    using Self = QPointer<DeviceTakeover>;

    void scheduleExpiry(const QDateTime& at, std::uint64_t generation);
    void expire();
    void finish(std::optional<QString> message);

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    SessionKeeper& m_keeper;
    AccountAuthorization& m_authorization;
    TaskHandle m_expiryTask;
};

} // namespace lumivane
