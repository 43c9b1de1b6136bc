#include "server/login/IdToken.h"

#include "server/login/JsonFields.h"
#include "server/login/LoginCrypto.h"
#include "server/login/TokenSignature.h"

namespace lumivane::service {

namespace json = boost::json;

namespace {

// Clocks of two machines are never quite the same.
constexpr std::int64_t leewaySeconds = 60;
constexpr std::size_t tokenBytes = 16 * 1024;

struct TokenPieces {
    std::string_view signedText;
    json::object header;
    json::object claims;
    std::string signature;
};

std::optional<json::object> decodedObject(std::string_view encoded) {
    const auto text = base64UrlDecode(encoded);
    return text ? parseJsonObject(*text) : std::nullopt;
}

std::optional<TokenPieces> takeApart(std::string_view token) {
    const auto first = token.find('.');
    const auto second = token.find('.', first + 1);
    if (token.size() > tokenBytes || first == std::string_view::npos ||
        second == std::string_view::npos) {
        return std::nullopt;
    }
    auto header = decodedObject(token.substr(0, first));
    auto claims = decodedObject(token.substr(first + 1, second - first - 1));
    auto signature = base64UrlDecode(token.substr(second + 1));
    if (!header || !claims || !signature) {
        return std::nullopt;
    }
    return TokenPieces{token.substr(0, second), std::move(*header), std::move(*claims),
                       std::move(*signature)};
}

bool isSigned(const TokenPieces& pieces, const json::value& keySet) {
    const json::value* keys =
        keySet.is_object() ? keySet.get_object().if_contains("keys") : nullptr;
    // What is critical to the signer and unknown here must not be passed over.
    if (keys == nullptr || !keys->is_array() || pieces.header.contains("crit")) {
        return false;
    }
    const auto name = textField(pieces.header, "kid");
    for (const json::value& key : keys->get_array()) {
        if (!key.is_object() || (name && textField(key.get_object(), "kid") != name)) {
            continue;
        }
        if (isSignedBy(key.get_object(), textField(pieces.header, "alg").value_or(""),
                       pieces.signedText, pieces.signature)) {
            return true;
        }
    }
    return false;
}

// Some issuers leave the scheme out of their own name.
bool isIssuer(const std::string& named, const std::string& expected) {
    return named == expected || "https://" + named == expected;
}

bool isForAudience(const json::object& claims, const std::string& audience) {
    const json::value* named = claims.if_contains("aud");
    if (named == nullptr) {
        return false;
    }
    if (named->is_string()) {
        return named->get_string() == json::string_view(audience);
    }
    if (!named->is_array() || named->get_array().size() != 1) {
        return false;
    }
    const json::value& only = named->get_array().front();
    return only.is_string() && only.get_string() == json::string_view(audience);
}

bool isOfNow(const json::object& claims, std::int64_t now) {
    const auto expiry = integerField(claims, "exp");
    const auto issued = integerField(claims, "iat");
    return expiry && issued && *expiry > now - leewaySeconds && *issued <= now + leewaySeconds;
}

// A token says when only if it was asked to, in an address that went through the user's hands: one
// that does not say it answers another question.
bool isFresh(const json::object& claims, std::optional<std::int64_t> since) {
    if (!since) {
        return true;
    }
    const auto time = integerField(claims, "auth_time");
    return time && *time >= *since - leewaySeconds;
}

} // namespace

std::optional<json::object> claimsOfIdToken(std::string_view token, const json::value& keySet,
                                            const IdTokenRules& rules) {
    auto pieces = takeApart(token);
    if (!pieces || !isSigned(*pieces, keySet)) {
        return std::nullopt;
    }
    const json::object& claims = pieces->claims;
    const bool isBelieved =
        isIssuer(textField(claims, "iss").value_or(""), rules.issuer) &&
        isForAudience(claims, rules.audience) && isOfNow(claims, rules.now) &&
        isFresh(claims, rules.authenticatedSince) &&
        equalInConstantTime(textField(claims, "nonce").value_or(""), rules.nonce) &&
        !textField(claims, "sub").value_or("").empty();
    return isBelieved ? std::optional(std::move(pieces->claims)) : std::nullopt;
}

} // namespace lumivane::service
