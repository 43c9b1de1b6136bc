#pragma once

#include "accounts/AccountAuthorization.h"
#include "accounts/Loading.h"
#include "accounts/UserChanges.h"

namespace lumivane {

/// The providers that the service offers, those that are linked, and the machines that the account
/// knows. Main thread only.
class LinkedAccounts final : public QObject {
    Q_OBJECT

public:
    LinkedAccounts(const AuthenticationPorts& ports, AccountStatus& status, SessionKeeper& keeper,
                   AccountAuthorization& authorization, UserChanges& changes);

    /// Asks the service which logins it offers; needed unless they are `available`. Of several
    /// loads the last one counts. A failure shows as `unavailable`, without a message.
    QCoro::Task<void> loadProviders(Loading loading);

    /// Logs in with the provider when the service offers it; nothing otherwise.
    QCoro::Task<void> signIn(AuthProvider provider);

    /// Adds the provider to the account by a web login, when the service offers it.
    QCoro::Task<void> link(AuthProvider provider);

    /// Takes a login from the account unless it is the only one. May ask the user for the keyring
    /// when the token has to be refreshed.
    QCoro::Task<void> unlink(AuthProvider provider);

    /// Asks the service for the account's machines; needed unless they are `loaded`, and only while
    /// signed in. Never asks the user for the keyring. A failure shows as `unavailable`.
    QCoro::Task<void> loadDevices(Loading loading);

private:
    using Self = QPointer<LinkedAccounts>;

    bool canUnlink(AuthProvider provider) const;
    void adopt(LinkedDeviceList list);

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    SessionKeeper& m_keeper;
    AccountAuthorization& m_authorization;
    UserChanges& m_changes;
    int m_providerLoad = 0; ///< the last one; what an earlier one finds out is out of date
    int m_deviceLoad = 0;
};

} // namespace lumivane
