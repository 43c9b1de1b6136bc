#pragma once

#include "accounts/AccountAuthorization.h"

namespace lumivane {

/// Deletes the account after a fresh login, and offers to try again for as long as that login's
/// proof lives. The proof stays in memory. Main thread only.
class AccountDeletion final : public QObject {
    Q_OBJECT

public:
    AccountDeletion(const AuthenticationPorts& ports, AccountStatus& status, SessionKeeper& keeper,
                    AccountAuthorization& authorization);

    QCoro::Task<void> deleteAccount(AuthProvider provider);
    QCoro::Task<void> retry();

    /// The re-authentication yielded a proof: deletes, or throws.
    QCoro::Task<void> finish(DeleteReauthentication proof, std::uint64_t generation,
                             std::stop_token stop);

    /// The words for a re-authentication or a deletion that failed.
    void showFailure();

    /// Drops the proof: the session goes.
    void forget();

private:
    using Self = QPointer<AccountDeletion>;

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    SessionKeeper& m_keeper;
    AccountAuthorization& m_authorization;
    std::optional<DeleteReauthentication> m_pendingProof;
};

} // namespace lumivane
