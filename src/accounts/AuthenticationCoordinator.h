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

    // For the account's view. The user is in front of it, so these may ask for the keyring's
    // password, but for the two that come by themselves with the view.

    /// Tries a session once more that could not be brought back.
    QCoro::Task<void> retryRestore();

    /// Ends the session in any state: on this machine at once, at the service when it answers.
    QCoro::Task<void> signOut();

    /// Which logins the service offers; nobody needs to be signed in.
    QCoro::Task<void> loadProviders(Loading loading);

    /// A web login with one of the providers that are offered. Takes the place of one that is under
    /// way; ends in `signedIn`, `deviceTakeover`, `failed`, or the state before it.
    QCoro::Task<void> signIn(AuthProvider provider);

    /// Gives up the login under way, whatever it is for, in state `authorizing`. One whose answer
    /// is there already goes on.
    void cancelLogin();

    /// Moves the account here, in state `deviceTakeover`. The view sees to it that it is not called
    /// twice.
    QCoro::Task<void> confirmTakeover();

    /// Leaves the account on the other machine.
    void cancelTakeover();

    // These need a session, and do nothing without.

    /// Deletes the account behind a web login with one of its providers that is offered.
    QCoro::Task<void> deleteAccount(AuthProvider provider);

    /// The same with the proof of the login before, while `deletionRetryAvailable`.
    QCoro::Task<void> retryAccountDeletion();

    /// Adds a login to the account, or takes one away that is not the only one.
    QCoro::Task<void> link(AuthProvider provider);
    QCoro::Task<void> unlink(AuthProvider provider);

    /// The account's machines, for when the view appears. Never asks for the keyring.
    QCoro::Task<void> loadDevices(Loading loading);

    /// What tells a taken handle from a free one without the service, for when the view appears.
    /// Never asks for the keyring; its failure shows nowhere.
    QCoro::Task<void> primeHandleFilter(Loading loading);

    /// The handle's field: every change of its text, Return, and Escape. Judgements by the service
    /// come after a pause in the typing, and never ask for the keyring.
    void handleDraftChanged(const QString& draft);
    QCoro::Task<void> commitHandle(const QString& draft);
    void revertHandle(const QString& draft);

    /// The display name's field: Return, and Escape.
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
    UserChanges m_changes;
    LinkedAccounts m_linked;
    HandleField m_handleField;
    DisplayNameField m_displayNameField;
    bool m_isTestingSeeded = false;
};

} // namespace lumivane
