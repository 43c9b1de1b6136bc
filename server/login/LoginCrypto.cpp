#include "server/login/LoginCrypto.h"

#include "server/accounts/Tokens.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

#include <array>
#include <cstdint>

namespace lumivane::service {

namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

std::string digest(std::string_view text) {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> result{};
    SHA256(bytesOf(text), text.size(), result.data());
    return {result.begin(), result.end()};
}

std::string hmac(std::string_view key, std::string_view text) {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> result{};
    unsigned int size = 0;
    HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), bytesOf(text), text.size(),
         result.data(), &size);
    return {result.begin(), result.end()};
}

std::string hexadecimal(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        result.push_back(digits[value >> 4U]);
        result.push_back(digits[value & 0xFU]);
    }
    return result;
}

} // namespace

std::string codeChallengeOf(std::string_view verifier) { return base64Url(digest(verifier)); }

std::string derivedSecret(std::string_view secret, std::string_view purpose) {
    return base64Url(hmac(secret, purpose));
}

std::string hmacSha256Hex(std::string_view key, std::string_view text) {
    return hexadecimal(hmac(key, text));
}

std::optional<std::string> base64UrlDecode(std::string_view text) {
    if (text.size() % 4 == 1) {
        return std::nullopt;
    }
    std::string result;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char character : text) {
        const auto value = alphabet.find(character);
        if (value == std::string_view::npos) {
            return std::nullopt;
        }
        bits = (bits << 6U) | static_cast<std::uint32_t>(value);
        count += 6;
        if (count >= 8) {
            count -= 8;
            result.push_back(static_cast<char>((bits >> static_cast<unsigned>(count)) & 0xFFU));
        }
    }
    return result;
}

bool equalInConstantTime(std::string_view left, std::string_view right) {
    return left.size() == right.size() &&
           CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

} // namespace lumivane::service
