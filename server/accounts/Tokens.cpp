#include "server/accounts/Tokens.h"

#include "server/store/Database.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <array>
#include <stdexcept>

namespace lumivane::service {

namespace {

std::string randomBytes(std::size_t count) {
    std::string bytes(count, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(count)) != 1) {
        throw std::runtime_error("the system gives no random bytes");
    }
    return bytes;
}

std::string hexadecimal(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += digits[value >> 4U];
        text += digits[value & 0xfU];
    }
    return text;
}

const unsigned char* unsignedBytes(std::string_view bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

std::string_view asText(const unsigned char* bytes, std::size_t count) {
    return {reinterpret_cast<const char*>(bytes), count};
}

} // namespace

std::string base64Url(std::string_view bytes) {
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string text;
    text.reserve((bytes.size() * 4 + 2) / 3);
    unsigned gathered = 0;
    int bits = 0;
    for (const char byte : bytes) {
        gathered = (gathered << 8U) | static_cast<unsigned char>(byte);
        for (bits += 8; bits >= 6; bits -= 6) {
            text += alphabet[(gathered >> static_cast<unsigned>(bits - 6)) & 63U];
        }
    }
    if (bits > 0) {
        text += alphabet[(gathered << static_cast<unsigned>(6 - bits)) & 63U];
    }
    return text;
}

std::string makeToken() { return base64Url(randomBytes(32)); }

std::string makeIdentifier() { return base64Url(randomBytes(16)); }

std::string tokenHash(std::string_view token) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    if (EVP_Digest(token.data(), token.size(), digest.data(), &length, EVP_sha256(), nullptr) !=
        1) {
        throw std::runtime_error("the hash of a token cannot be computed");
    }
    return hexadecimal(asText(digest.data(), length));
}

TokenDerivation TokenDerivation::load(Database& database) {
    const std::string fresh = hexadecimal(randomBytes(32));
    return TokenDerivation(database.transact([&fresh](soci::session& sql) {
        std::string pepper;
        sql << "INSERT INTO service_secrets (name, value) VALUES ('token_pepper', :value) "
               "ON CONFLICT (name) DO NOTHING",
            soci::use(fresh);
        sql << "SELECT value FROM service_secrets WHERE name = 'token_pepper'", soci::into(pepper);
        return pepper;
    }));
}

std::string TokenDerivation::derive(Purpose purpose, std::string_view secret,
                                    std::string_view operation) const {
    std::string question = purpose == Purpose::access ? "access" : "refresh";
    question += '\0';
    question += secret;
    question += '\0';
    question += operation;
    std::array<unsigned char, EVP_MAX_MD_SIZE> code{};
    unsigned length = 0;
    if (HMAC(EVP_sha256(), m_pepper.data(), static_cast<int>(m_pepper.size()),
             unsignedBytes(question), question.size(), code.data(), &length) == nullptr) {
        throw std::runtime_error("a token cannot be derived");
    }
    return base64Url(asText(code.data(), length));
}

} // namespace lumivane::service
