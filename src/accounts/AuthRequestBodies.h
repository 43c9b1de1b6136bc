#pragma once

#include "accounts/AccountRecords.h"
#include "accounts/DeviceRegistration.h"
#include "domain/StrictJson.h"

#include <optional>

namespace lumivane {

/// The bodies of the account client's requests, keys in their fixed order, absent ones left out.
/// Used by the client alone, which overwrites the texts after use.
namespace AuthRequestBodies {

Json transaction(AuthProvider provider, AuthIntent intent, const QString& codeChallenge);
Json complete(const QString& transactionID, const SecretText& handoffCode,
              const SecretText& codeVerifier, const std::optional<DeviceRegistration>& device);
Json takeover(const DeviceRegistration& device);
Json profileUpdate(const std::optional<QString>& handle, const std::optional<QString>& displayName);
Json handleAvailability(const QString& handle);
Json refresh(const SecretText& refreshToken, QUuid operationID);
Json refreshRevocation(const SecretText& refreshToken);
Json deletion(const SecretText& reauthProof);

} // namespace AuthRequestBodies

} // namespace lumivane
