#pragma once

#include "accounts/AccountDeletion.h"
#include "accounts/DeviceTakeover.h"
#include "accounts/DisplayNameField.h"
#include "accounts/HandleField.h"
#include "accounts/LinkedAccounts.h"
#include "accounts/SessionServing.h"

namespace lumivane {

/// What a coordinator starts out with in tests of the views; empty in every other start.
struct AuthenticationSeeds {
    std::optional<UserSummary> user;
    std::optional<AuthCredentials> credentials;
    std::optional<std::vector<AuthProvider>> enabledProviders;
    std::optional<std::vector<LinkedDevice>> devices;
    std::optional<DeviceListState> devicesState;
    std::optional<ProfileFieldState> handle;
    std::optional<DeviceTakeoverContext> takeover;

    bool isEmpty() const;
};

/// How a coordinator begins when nothing is seeded.
enum class AuthenticationStart { restoring, signedOut };

/// The single owner of the login: what views observe (`status`) and what they, and the application
/// model, ask for. The work is done by the parts that it puts together. Main thread only.
///
/// No operation throws but `validAccessToken`: how each ends stands in the status.
class AuthenticationCoordinator final : public SessionServing {
public:
    explicit AuthenticationCoordinator(const AuthenticationPorts& ports,
                                       AuthenticationStart start = AuthenticationStart::restoring,
                                       const AuthenticationSeeds& seeds = {});

    const AccountStatus& status() const { return m_status; }

    /// The session ended; called once each time. Set by the composition root.
    void setOnSessionCleared(std::function<void()> handler);

    // For the application model
    QCoro::Task<void> restore() override;

    bool isSignedIn() const override { return m_status.state().isSignedIn(); }

    QCoro::Task<SecretText> validAccessToken(std::chrono::seconds minimumValidity,
                                             std::stop_token stop) override;
    QCoro::Task<bool> handleUnauthorized() override;
    QCoro::Task<void> signOutLocallyAfterEviction() override;

    std::optional<QString> errorMessage() const override { return m_status.errorMessage(); }

    // For the account's view
    QCoro::Task<void> retryRestore();
    QCoro::Task<void> signOut();
    QCoro::Task<void> loadProviders(bool force);
    QCoro::Task<void> signIn(AuthProvider provider);
    QCoro::Task<void> confirmTakeover();
    void cancelTakeover();
    QCoro::Task<void> deleteAccount(AuthProvider provider);
    QCoro::Task<void> retryAccountDeletion();
    QCoro::Task<void> link(AuthProvider provider);
    QCoro::Task<void> unlink(AuthProvider provider);
    QCoro::Task<void> loadDevices(bool force);
    QCoro::Task<void> primeHandleFilter(bool force);
    void handleDraftChanged(const QString& draft);
    QCoro::Task<void> commitHandle(const QString& draft);
    void revertHandle(const QString& draft);
    QCoro::Task<void> commitDisplayName(const QString& draft);
    void revertDisplayName();

private:
    void seed(const AuthenticationSeeds& seeds);
    void forget();

    AccountStatus m_status;
    SessionKeeper m_keeper;
    AccountAuthorization m_authorization;
    DeviceTakeover m_takeover;
    AccountDeletion m_deletion;
    LinkedAccounts m_linked;
    HandleField m_handleField;
    DisplayNameField m_displayNameField;
    bool m_isTestingSeeded = false;
};

} // namespace lumivane
