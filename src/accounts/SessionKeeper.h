#pragma once

#include "accounts/AccountStatus.h"
#include "accounts/AuthenticationError.h"
#include "accounts/AuthenticationPorts.h"

#include <QObject>
#include <QPointer>

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace lumivane {

class RefreshExchange;

/// Holds the one session of the process: the only access token, what of it is stored, and the one
/// refresh that may be under way. The other parts of the login come here for a token and for what
/// becomes of a login. Main thread only.
///
/// `generation` is the epoch of the session: whoever waits copies it before and compares it after,
/// and ends without touching anything when it is another one.
class SessionKeeper final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds defaultMinimumValidity{60};

    SessionKeeper(const AuthenticationPorts& ports, AccountStatus& status);
    ~SessionKeeper() override;

    /// Drops what else belongs to the session, in the middle of every clearing. Set once.
    std::function<void()> onForgetting;

    /// The session is gone, and whoever keeps something of it lets go of it now. Set once.
    std::function<void()> onSessionCleared;

    std::uint64_t generation() const { return m_generation; }

    /// Whether that session is the present one, or has only just ended: nobody has begun anything
    /// since that its words would fall upon.
    bool isUnfollowed(std::uint64_t generation) const;

    const std::optional<AuthCredentials>& credentials() const { return m_credentials; }

    const std::optional<StoredSession>& storedSession() const { return m_storedSession; }

    /// The state `signedIn` of the user whose credentials are held; false without credentials, and
    /// nothing has changed then.
    bool showSignedIn();

    /// The same unless a login or a refresh is under way: each shows the user at its own end, and a
    /// refresh would take any other state for its end.
    void showSignedInUnlessBusy();

    /// An access token with more than `minimumValidity` left; refreshed when the one at hand has
    /// less, and all who ask at that time wait for the same exchange. Throws AuthenticationError,
    /// or Cancelled once a stop is requested or the session went meanwhile.
    QCoro::Task<SecretText> validAccessToken(std::chrono::seconds minimumValidity,
                                             UnlockPrompt prompt, std::stop_token stop);

    /// Stores a complete login, then takes it over and shows its user, without a message. Throws
    /// what the store throws, or Cancelled when `generation` is not the present one any more; no
    /// part of the login is held then.
    QCoro::Task<void> adopt(AuthCredentials login, std::uint64_t generation, std::stop_token stop);

    /// What the service now says of the user; shows it unless busy, without a message. Needs
    /// credentials.
    void replaceUser(UserSummary user);

    /// Brings the stored session back: once, from the state `restoring`.
    QCoro::Task<void> restore();

    /// The same once more, because the user wants it, from the state `restoreFailed`.
    QCoro::Task<void> retryRestore();

    /// Forgets the session at once in memory and tells everyone, then waits for the store to have
    /// done so. Throws what the store throws: the rest has happened all the same.
    QCoro::Task<void> clearLocalSession(UnlockPrompt prompt);

    QCoro::Task<void> signOut();
    QCoro::Task<bool> handleUnauthorized();
    QCoro::Task<void> signOutLocallyAfterEviction();

    /// A message about the keyring goes: something new has begun, or the keyring does as told
    /// again.
    void dropKeyringAdvice();

    /// Starts out with this session, for tests of the views; nothing is stored.
    void seed(AuthCredentials credentials);

private:
    using Self = QPointer<SessionKeeper>;
    using Exchange = std::shared_ptr<RefreshExchange>;

    struct Trouble {
        std::exception_ptr error; ///< none when all went well
    };

    // The token
    bool hasTokenFor(std::chrono::seconds minimumValidity) const;
    bool isPast(const QDateTime& date) const;
    StoredSession sessionToRefresh() const;
    QCoro::Task<SecretText> refreshed(StoredSession session, UnlockPrompt prompt,
                                      std::stop_token stop);
    static QCoro::Task<void> perform(Self self, AuthenticationPorts ports, Exchange exchange,
                                     StoredSession session, UnlockPrompt prompt);
    QCoro::Task<SecretText> takenOver(Exchange exchange, UnlockPrompt prompt, std::stop_token stop);
    static void requireCurrent(const Self& self, const RefreshExchange& exchange);
    QCoro::Task<void> handleFailure(Exchange exchange, std::exception_ptr error,
                                    UnlockPrompt prompt);
    void showKeyringAdvice(KeyringTrouble trouble);
    void hold(const AuthCredentials& login, const StoredSession& session);
    void release(const Exchange& exchange);
    void cancelRefresh();

    // Its return
    QCoro::Task<void> bringBack(UnlockPrompt prompt);
    QCoro::Task<void> bringBackHeld();
    QCoro::Task<Trouble> troubleWithToken(UnlockPrompt prompt);
    QCoro::Task<void> removeUnusable(UnlockPrompt prompt, std::uint64_t generation);
    QCoro::Task<void> removeRefused(UnlockPrompt prompt, std::uint64_t generation);
    bool isRestoring(std::uint64_t generation) const;
    bool hasFailedToClearSince(std::uint64_t generation) const;
    void showNotRestored();

    // Its end
    void endEpoch();
    QCoro::Task<bool> cleared(UnlockPrompt prompt, QString troubleMessage);
    bool isWithoutSession(std::uint64_t generation) const;
    bool isSignedOut(std::uint64_t generation) const;

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    std::optional<AuthCredentials> m_credentials;
    std::optional<StoredSession> m_storedSession;
    Exchange m_refresh; ///< the one under way, until its owner is through with it
    std::uint64_t m_generation = 0;
    bool m_isRestoring = false;
    bool m_isStoreUnread = false; ///< the keyring gave no session, and may do so when asked again
};

} // namespace lumivane
