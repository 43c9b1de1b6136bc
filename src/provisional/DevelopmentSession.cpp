#include "provisional/DevelopmentSession.h"

#include "accounts/AuthenticationError.h"
#include "async/Cancelled.h"

#include <QFile>

#include <utility>

namespace lumivane {

DevelopmentSession::DevelopmentSession(QString tokenFile)
    : m_tokenFile(std::move(tokenFile)) {}

QCoro::Task<SecretText> DevelopmentSession::validAccessToken(std::chrono::seconds,
                                                             std::stop_token stop) {
    constexpr qint64 longestToken = 4096;
    throwIfStopped(stop);
    QFile file(m_tokenFile);
    if (!file.open(QIODevice::ReadOnly)) {
        throw AuthenticationError(AuthenticationError::Case::unavailable);
    }
    const SecretText token{file.read(longestToken).trimmed()};
    if (token.isEmpty()) {
        throw AuthenticationError(AuthenticationError::Case::unavailable);
    }
    co_return token;
}

QCoro::Task<bool> DevelopmentSession::handleUnauthorized() {
    clearSession();
    co_return true;
}

QCoro::Task<void> DevelopmentSession::signOutLocallyAfterEviction() {
    clearSession();
    co_return;
}

void DevelopmentSession::clearSession() {
    m_isSignedIn = false;
    if (onSessionCleared) {
        onSessionCleared();
    }
}

} // namespace lumivane
