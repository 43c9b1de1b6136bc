#include "server/login/LoginRequests.h"

#include "server/accounts/Tokens.h"
#include "server/analysis/StrictJson.h"
#include "server/login/JsonFields.h"

#include <algorithm>

namespace lumivane::service {

namespace json = boost::json;

namespace {

constexpr std::size_t fewestVerifierCharacters = 43;
constexpr std::size_t mostVerifierCharacters = 128;

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

Refusal invalid(std::string message) { return {422, "invalid_request", std::move(message)}; }

std::variant<json::object, Refusal> decodeObject(std::string_view body) {
    try {
        json::value value = parseStrictly(body);
        if (value.is_object()) {
            return std::move(value.get_object());
        }
        return invalid("The body must be a JSON object.");
    } catch (const JsonError& error) {
        return Refusal{400, "invalid_json",
                       std::string("The body cannot be read: ") + error.what() + "."};
    }
}

// Whether a key is absent, null or a string; then `text` is what it holds.
bool takeOptional(const json::object& object, std::string_view key, std::string& text) {
    const json::value* value = object.if_contains(json::string_view{key.data(), key.size()});
    if (value == nullptr || value->is_null()) {
        return true;
    }
    text = textField(object, key).value_or("");
    return value->is_string();
}

bool takeDevice(const json::object& object, DeviceRegistration& device) {
    return takeOptional(object, "device_id", device.identifier) &&
           takeOptional(object, "device_name", device.name) &&
           takeOptional(object, "device_kind", device.kind) &&
           takeOptional(object, "device_os", device.osVersion);
}

} // namespace

bool isServiceToken(std::string_view text) {
    return !text.empty() && text.size() <= tokenLength &&
           std::all_of(text.begin(), text.end(), isWordCharacterOfUrl);
}

std::variant<TransactionRequest, Refusal> decodeTransactionRequest(std::string_view body) {
    auto decoded = decodeObject(body);
    if (auto* refusal = std::get_if<Refusal>(&decoded)) {
        return std::move(*refusal);
    }
    const auto& object = std::get<json::object>(decoded);
    const auto provider = providerNamed(textField(object, "provider").value_or(""));
    if (!provider) {
        return invalid(R"("provider" must be "google", "facebook" or "github".)");
    }
    const auto intent = authIntentNamed(textField(object, "intent").value_or(""));
    if (!intent) {
        return invalid(R"("intent" must be "sign_in", "link" or "delete_reauth".)");
    }
    if (textField(object, "code_challenge_method") != "S256") {
        return invalid(R"("code_challenge_method" must be "S256".)");
    }
    auto challenge = textField(object, "code_challenge").value_or("");
    if (challenge.size() != tokenLength || !isServiceToken(challenge)) {
        return invalid(R"("code_challenge" must be a SHA-256 in base64url without padding.)");
    }
    return TransactionRequest{*provider, *intent, std::move(challenge)};
}

std::variant<CompleteRequest, Refusal> decodeCompleteRequest(std::string_view body) {
    auto decoded = decodeObject(body);
    if (auto* refusal = std::get_if<Refusal>(&decoded)) {
        return std::move(*refusal);
    }
    const auto& object = std::get<json::object>(decoded);
    CompleteRequest request;
    request.transactionId = textField(object, "transaction_id").value_or("");
    request.handoffCode = textField(object, "handoff_code").value_or("");
    request.codeVerifier = textField(object, "code_verifier").value_or("");
    if (!isServiceToken(request.transactionId)) {
        return invalid(R"("transaction_id" is missing or is none of this service.)");
    }
    if (!isServiceToken(request.handoffCode)) {
        return invalid(R"("handoff_code" is missing or is none of this service.)");
    }
    if (!isVerifier(request.codeVerifier)) {
        return invalid(R"("code_verifier" must have 43 to 128 unreserved characters.)");
    }
    if (!takeDevice(object, request.device)) {
        return invalid("The device fields must be strings.");
    }
    return request;
}

std::variant<std::string, Refusal> decodeDeleteRequest(std::string_view body) {
    auto decoded = decodeObject(body);
    if (auto* refusal = std::get_if<Refusal>(&decoded)) {
        return std::move(*refusal);
    }
    auto proof = textField(std::get<json::object>(decoded), "reauth_proof").value_or("");
    if (!isServiceToken(proof)) {
        return invalid(R"("reauth_proof" is missing or is none of this service.)");
    }
    return proof;
}

} // namespace lumivane::service
