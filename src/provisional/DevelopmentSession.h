#pragma once

#include "accounts/SessionServing.h"

#include <functional>

namespace lumivane {

/// Stands in for the login: a session whose token is the local service's own, read from the file
/// that the service wrote for this user.
class DevelopmentSession final : public SessionServing {
public:
    explicit DevelopmentSession(QString tokenFile);

    /// Called whenever the session goes.
    std::function<void()> onSessionCleared;

    /// There is nothing to bring back: the file is read anew for each token.
    QCoro::Task<void> restore() override { co_return; }

    bool isSignedIn() const override { return m_isSignedIn; }

    QCoro::Task<SecretText> validAccessToken(std::chrono::seconds minimumValidity,
                                             std::stop_token stop) override;
    QCoro::Task<bool> handleUnauthorized() override;
    QCoro::Task<void> signOutLocallyAfterEviction() override;

    std::optional<QString> errorMessage() const override { return std::nullopt; }

private:
    void clearSession();

    QString m_tokenFile;
    bool m_isSignedIn = true;
};

} // namespace lumivane
