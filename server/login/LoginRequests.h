#pragma once

#include "server/accounts/DeviceRegistration.h"
#include "server/login/AuthIntent.h"

#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// The body of POST /v1/auth/transactions.
struct TransactionRequest {
    AuthProvider provider = AuthProvider::github;
    AuthIntent intent = AuthIntent::signIn;
    std::string codeChallenge; ///< of the method S256
};

/// The body of POST /v1/auth/complete.
struct CompleteRequest {
    std::string transactionId;
    std::string handoffCode;
    std::string codeVerifier;
    std::optional<DeviceRegistration> device; ///< none where it is not fully described
};

/// Each gives the record of a JSON body; they throw AccountError.
TransactionRequest decodeTransactionRequest(std::string_view body);
CompleteRequest decodeCompleteRequest(std::string_view body);

/// The proof in the body of DELETE /v1/account. Throws AccountError.
std::string decodeDeleteRequest(std::string_view body);

/// Whether a text can be a name or a secret that this service made.
bool isServiceToken(std::string_view text);

} // namespace lumivane::service
