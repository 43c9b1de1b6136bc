#include "server/login/LoginRequests.h"

#include "server/accounts/AccountError.h"
#include "server/accounts/BodyFields.h"
#include "server/accounts/SessionRecords.h"
#include "server/accounts/Tokens.h"

#include <algorithm>

namespace lumivane::service {

namespace {

constexpr std::size_t fewestVerifierCharacters = 43;
constexpr std::size_t mostVerifierCharacters = 128;
// Every text has rules of its own; this only keeps out the absurd.
constexpr std::size_t mostBytes = 4096;

bool isWordCharacterOfUrl(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '-' || character == '_';
}

bool isVerifier(std::string_view text) {
    const auto isFit = [](char character) {
        return isWordCharacterOfUrl(character) || character == '.' || character == '~';
    };
    return text.size() >= fewestVerifierCharacters && text.size() <= mostVerifierCharacters &&
           std::all_of(text.begin(), text.end(), isFit);
}

} // namespace

bool isServiceToken(std::string_view text) {
    return !text.empty() && text.size() <= tokenLength &&
           std::all_of(text.begin(), text.end(), isWordCharacterOfUrl);
}

TransactionRequest decodeTransactionRequest(std::string_view body) {
    const BodyFields fields(body);
    const auto provider = providerNamed(fields.text("provider", mostBytes));
    if (!provider) {
        refuseRecord(R"("provider" must be "google", "facebook" or "github".)");
    }
    const auto intent = authIntentNamed(fields.text("intent", mostBytes));
    if (!intent) {
        refuseRecord(R"("intent" must be "sign_in", "link" or "delete_reauth".)");
    }
    if (fields.text("code_challenge_method", mostBytes) != "S256") {
        refuseRecord(R"("code_challenge_method" must be "S256".)");
    }
    std::string challenge = fields.text("code_challenge", mostBytes);
    if (challenge.size() != tokenLength || !isServiceToken(challenge)) {
        refuseRecord(R"("code_challenge" must be a SHA-256 in base64url without padding.)");
    }
    return {*provider, *intent, std::move(challenge)};
}

CompleteRequest decodeCompleteRequest(std::string_view body) {
    const BodyFields fields(body);
    CompleteRequest request;
    request.transactionId = fields.text("transaction_id", mostBytes);
    request.handoffCode = fields.text("handoff_code", mostBytes);
    request.codeVerifier = fields.text("code_verifier", mostBytes);
    request.device = decodeDevice(fields);
    if (!isServiceToken(request.transactionId)) {
        refuseRecord(R"("transaction_id" is none of this service.)");
    }
    if (!isServiceToken(request.handoffCode)) {
        refuseRecord(R"("handoff_code" is none of this service.)");
    }
    if (!isVerifier(request.codeVerifier)) {
        refuseRecord(R"("code_verifier" must have 43 to 128 unreserved characters.)");
    }
    return request;
}

std::string decodeDeleteRequest(std::string_view body) {
    std::string proof = BodyFields(body).text("reauth_proof", mostBytes);
    if (!isServiceToken(proof)) {
        refuseRecord(R"("reauth_proof" is none of this service.)");
    }
    return proof;
}

} // namespace lumivane::service
