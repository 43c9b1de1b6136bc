#pragma once

#include "accounts/AccountAuthorization.h"

namespace lumivane {

/// The providers that the service offers, those that are linked, and the machines that the account
/// knows. Main thread only.
class LinkedAccounts final : public QObject {
    Q_OBJECT

public:
    LinkedAccounts(const AuthenticationPorts& ports, AccountStatus& status, SessionKeeper& keeper,
                   AccountAuthorization& authorization);

    QCoro::Task<void> loadProviders(bool force);
    QCoro::Task<void> signIn(AuthProvider provider);
    QCoro::Task<void> link(AuthProvider provider);
    QCoro::Task<void> unlink(AuthProvider provider);
    QCoro::Task<void> loadDevices(bool force);

private:
    using Self = QPointer<LinkedAccounts>;

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    SessionKeeper& m_keeper;
    AccountAuthorization& m_authorization;
};

} // namespace lumivane
