#pragma once

#include "accounts/WebAuthenticating.h"
#include "async/Clock.h"
#include "platform/WebSession.h"

#include <chrono>
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

    /// Takes over the session's stray callbacks: each is logged as such, without what it held. Both
    /// outlive this and the logins under way.
    SystemWebAuthenticator(WebSession& session, Clock& clock);
    ~SystemWebAuthenticator() override;
    SystemWebAuthenticator(const SystemWebAuthenticator&) = delete;
    SystemWebAuthenticator& operator=(const SystemWebAuthenticator&) = delete;

    QCoro::Task<QString> authenticate(QUrl page, std::stop_token stop) override;
    void cancel() override;

private:
    WebSession* m_session;
    Clock* m_clock;
    std::stop_source m_login{std::nostopstate}; ///< of the login under way, or of the last one
};

} // namespace lumivane
