#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// The SHA-256 in base64url without padding: what a code challenge of the method S256 is.
std::string codeChallengeOf(std::string_view verifier);

/// HMAC-SHA-256 in base64url. One secret gives many, told apart by what each is for.
std::string derivedSecret(std::string_view secret, std::string_view purpose);

/// HMAC-SHA-256 in lower-case hexadecimal.
std::string hmacSha256Hex(std::string_view key, std::string_view text);

/// Without padding; none for anything that is no base64url.
std::optional<std::string> base64UrlDecode(std::string_view text);

/// The same bytes as the cryptography library takes them.
inline const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

/// Compares in a time that depends on the lengths alone.
bool equalInConstantTime(std::string_view left, std::string_view right);

} // namespace lumivane::service
