#pragma once

#include "accounts/WebAuthenticating.h"
#include "async/Clock.h"
#include "platform/WebSession.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <stop_token>

namespace lumivane {

/// Logs in with the browser that the user has anyway, so that the program sees neither a password
/// nor anything of the one who vouches for the user.
class SystemWebAuthenticator final : public WebAuthenticating {
public:
    /// How long a page may stay without an answer. Nothing tells that a tab was closed, so without
    /// it a login that was given up would never end.
    static constexpr std::chrono::minutes loginLimit{10};

    /// Takes over the session's stray callbacks, without what they held: the first one behind the
    /// begin of a login is logged, and how many followed when the next login begins, since anybody
    /// can send them without end. Both outlive this and the logins under way.
    SystemWebAuthenticator(WebSession& session, Clock& clock);
    ~SystemWebAuthenticator() override;
    SystemWebAuthenticator(const SystemWebAuthenticator&) = delete;
    SystemWebAuthenticator& operator=(const SystemWebAuthenticator&) = delete;

    QCoro::Task<QString> authenticate(QUrl page, std::stop_token stop) override;
    void cancel() override;

private:
    void noteStrayCallback();
    void reportStrayCallbacks();

    WebSession* m_session;
    Clock* m_clock;
    std::int64_t m_strayCount = 0;              ///< since the last login began
    std::stop_source m_login{std::nostopstate}; ///< of the login under way, or of the last one
};

} // namespace lumivane
