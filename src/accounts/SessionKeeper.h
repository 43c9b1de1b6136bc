#pragma once

#include "accounts/AccountStatus.h"
#include "accounts/AuthenticationPorts.h"

#include <QObject>
#include <QPointer>

#include <chrono>
#include <cstdint>
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

    const std::optional<AuthCredentials>& credentials() const { return m_credentials; }

    const std::optional<StoredSession>& storedSession() const { return m_storedSession; }

    /// The state `signedIn` of the user whose credentials are held; false without credentials, and
    /// nothing has changed then.
    bool showSignedIn();

    /// An access token with more than `minimumValidity` left; refreshed when the one at hand has
    /// less, and all who ask at that time wait for the same exchange. Throws AuthenticationError,
    /// or Cancelled once a stop is requested or the session went meanwhile.
    QCoro::Task<SecretText> validAccessToken(std::chrono::seconds minimumValidity,
                                             UnlockPrompt prompt, std::stop_token stop);

    /// Stores a complete login, then takes it over and shows its user, without a message. Throws
    /// what the store throws, or Cancelled when `generation` is not the present one any more; no
    /// part of the login is held then.
    QCoro::Task<void> adopt(AuthCredentials login, std::uint64_t generation, std::stop_token stop);

    /// What the service now says of the user; shows it, without a message. Needs credentials.
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

    /// Starts out with this session, for tests of the views; nothing is stored.
    void seed(AuthCredentials credentials);

private:
    using Self = QPointer<SessionKeeper>;

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    std::optional<AuthCredentials> m_credentials;
    std::optional<StoredSession> m_storedSession;
    std::shared_ptr<RefreshExchange> m_refresh; ///< the one under way
    std::uint64_t m_generation = 0;
};

} // namespace lumivane
