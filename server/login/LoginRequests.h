#pragma once

#include "server/accounts/DeviceRegistration.h"
#include "server/http/Authorizer.h"
#include "server/login/AuthIntent.h"

#include <string>
#include <string_view>
#include <variant>

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
    DeviceRegistration device; ///< with empty texts for what the body left out
};

/// Each gives the record of a JSON body, or a Refusal: 400 "invalid_json" or 422
/// "invalid_request". Unknown keys are passed over; null counts as absent.
std::variant<TransactionRequest, Refusal> decodeTransactionRequest(std::string_view body);
std::variant<CompleteRequest, Refusal> decodeCompleteRequest(std::string_view body);

/// The proof in the body of DELETE /v1/account.
std::variant<std::string, Refusal> decodeDeleteRequest(std::string_view body);

/// Whether a text can be a name or a secret that this service made.
bool isServiceToken(std::string_view text);

} // namespace lumivane::service
