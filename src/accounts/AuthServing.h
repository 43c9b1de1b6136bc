#pragma once

#include "accounts/AccountRecords.h"
#include "accounts/DeviceRegistration.h"
#include "accounts/HandleFilterPayload.h"

#include <qcoro/qcorotask.h>

#include <optional>
#include <stop_token>
#include <vector>

namespace lumivane {

/// The account service. Main thread; several calls may be under way.
///
/// Every operation throws AuthenticationError, or Cancelled once a stop is requested, and nothing
/// else. None keeps a login: tokens come in as arguments. None tries again by itself.
class AuthServing {
public:
    virtual ~AuthServing() = default;

    virtual QCoro::Task<std::vector<AuthProvider>> providers(std::stop_token stop) = 0;

    /// Starts a web login. Its page lies on the service's own origin.
    virtual QCoro::Task<AuthTransaction> createTransaction(AuthProvider provider, AuthIntent intent,
                                                           QString codeChallenge,
                                                           std::optional<SecretText> accessToken,
                                                           std::stop_token stop) = 0;

    /// Finishes a web login. The device goes along unless the intent is `deleteReauth`.
    virtual QCoro::Task<AuthCompletion> complete(QString transactionID, SecretText handoffCode,
                                                 SecretText codeVerifier, AuthIntent intent,
                                                 std::optional<DeviceRegistration> device,
                                                 std::stop_token stop) = 0;

    /// The service takes equal pairs of token and identifier for one exchange, so a refresh whose
    /// answer was lost is sent again with the same identifier.
    virtual QCoro::Task<AuthCredentials> refresh(SecretText refreshToken, QUuid operationID,
                                                 std::stop_token stop) = 0;

    virtual QCoro::Task<void> revoke(SecretText refreshToken, std::stop_token stop) = 0;
    virtual QCoro::Task<void> logout(SecretText accessToken, std::stop_token stop) = 0;
    virtual QCoro::Task<UserSummary> me(SecretText accessToken, std::stop_token stop) = 0;
    virtual QCoro::Task<UserSummary> unlink(AuthProvider provider, SecretText accessToken,
                                            std::stop_token stop) = 0;
    virtual QCoro::Task<void> deleteAccount(SecretText accessToken, SecretText reauthProof,
                                            std::stop_token stop) = 0;
    virtual QCoro::Task<LinkedDeviceList> devices(SecretText accessToken, std::stop_token stop) = 0;

    /// Moves the account to `device`. The ticket is the token of this one request.
    virtual QCoro::Task<AuthCredentials> takeover(SecretText ticket, DeviceRegistration device,
                                                  std::stop_token stop) = 0;

    /// Changes what is given and leaves the rest.
    virtual QCoro::Task<UserSummary> updateProfile(std::optional<QString> handle,
                                                   std::optional<QString> displayName,
                                                   SecretText accessToken,
                                                   std::stop_token stop) = 0;

    virtual QCoro::Task<HandleAvailabilityResult>
    handleAvailability(QString handle, SecretText accessToken, std::stop_token stop) = 0;

    /// The filter of taken handles, unless `knownVersion` is still the right one.
    virtual QCoro::Task<HandleFilterOutcome> handleFilter(std::optional<QString> knownVersion,
                                                          SecretText accessToken,
                                                          std::stop_token stop) = 0;
};

} // namespace lumivane
