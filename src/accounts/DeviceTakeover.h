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
    ~DeviceTakeover() override;

    /// Puts the question to the user and starts the clock.
    void enter(const DeviceTakeoverRequired& required, AuthProvider provider,
               std::uint64_t generation);

    /// Moves the account. How that ended stands in the status; nothing is thrown. An answer that
    /// comes after the question was closed counts all the same, as long as the session is the one
    /// it was asked for: the service has moved the account by then.
    QCoro::Task<void> confirm();

    /// Leaves the account where it is. The service is not told; its ticket lapses.
    void cancel();

    /// Starts out with this question, for tests of the views; its time never runs out.
    void seed(DeviceTakeoverContext context);

    /// Stops the clock: the session goes.
    void forget();

private:
    using Self = QPointer<DeviceTakeover>;

    struct Confirmation;

    static QCoro::Task<void> expireAt(Self self, Clock& clock, QDateTime at,
                                      std::uint64_t generation, std::stop_token stop);
    void scheduleExpiry(const QDateTime& at, std::uint64_t generation);
    void expire();
    void finish(std::optional<QString> message);

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    SessionKeeper& m_keeper;
    AccountAuthorization& m_authorization;
    TaskHandle m_expiryTask;
    std::uint64_t m_lastConfirmation = 0;
    std::stop_source m_life;
};

} // namespace lumivane
