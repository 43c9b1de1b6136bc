#pragma once

#include "accounts/AuthServing.h"
#include "domain/ServiceBase.h"
#include "platform/HttpSession.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace lumivane {

/// The one object that talks to the account service. Made once at start; nothing in it changes.
///
/// Main thread, which puts its calls in a row between their waits; several transfers may be under
/// way, and each stands on its own even when the client goes before it ends. It tries nothing
/// again, logs nothing and keeps no login: what it sent and got of secrets is overwritten as far as
/// it has it to itself.
class AuthClient final : public AuthServing {
public:
    /// From sending to the last byte of the answer.
    static constexpr std::chrono::seconds standardTimeout{60};

    /// A longer answer counts as an outage and is not read to its end.
    static constexpr std::int64_t maximumResponseBytes = std::int64_t{1024} * 1024;

    /// The same for the handle filter, the one answer that grows with the number of users.
    static constexpr std::int64_t maximumFilterBytes = std::int64_t{4} * 1024 * 1024;

    /// The base is `baseURL`, else the one the application is set to, else the local service. When
    /// the endpoint policy refuses it, every call fails with `unavailable`.
    AuthClient(const std::optional<QString>& baseURL, const ApplicationInformation& information,
               HttpTransport& transport);

    /// The same with a session of another time-out.
    AuthClient(const std::optional<QString>& baseURL, const ApplicationInformation& information,
               HttpSession session);

    QCoro::Task<std::vector<AuthProvider>> providers(std::stop_token stop) override;
    QCoro::Task<AuthTransaction> createTransaction(AuthProvider provider, AuthIntent intent,
                                                   QString codeChallenge,
                                                   std::optional<SecretText> accessToken,
                                                   std::stop_token stop) override;
    QCoro::Task<AuthCompletion> complete(QString transactionID, SecretText handoffCode,
                                         SecretText codeVerifier, AuthIntent intent,
                                         std::optional<DeviceRegistration> device,
                                         std::stop_token stop) override;
    QCoro::Task<AuthCredentials> refresh(SecretText refreshToken, QUuid operationID,
                                         std::stop_token stop) override;
    QCoro::Task<void> revoke(SecretText refreshToken, std::stop_token stop) override;
    QCoro::Task<void> logout(SecretText accessToken, std::stop_token stop) override;
    QCoro::Task<UserSummary> me(SecretText accessToken, std::stop_token stop) override;
    QCoro::Task<UserSummary> unlink(AuthProvider provider, SecretText accessToken,
                                    std::stop_token stop) override;
    QCoro::Task<void> deleteAccount(SecretText accessToken, SecretText reauthProof,
                                    std::stop_token stop) override;
    QCoro::Task<LinkedDeviceList> devices(SecretText accessToken, std::stop_token stop) override;
    QCoro::Task<AuthCredentials> takeover(SecretText ticket, DeviceRegistration device,
                                          std::stop_token stop) override;
    QCoro::Task<UserSummary> updateProfile(std::optional<QString> handle,
                                           std::optional<QString> displayName,
                                           SecretText accessToken, std::stop_token stop) override;
    QCoro::Task<HandleAvailabilityResult> handleAvailability(QString handle, SecretText accessToken,
                                                             std::stop_token stop) override;
    QCoro::Task<HandleFilterOutcome> handleFilter(std::optional<QString> knownVersion,
                                                  SecretText accessToken,
                                                  std::stop_token stop) override;

private:
    std::optional<ServiceBase> m_base;
    HttpSession m_session;
};

} // namespace lumivane
