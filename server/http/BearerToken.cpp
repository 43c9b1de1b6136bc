#include "server/http/BearerToken.h"

#include <boost/algorithm/string/predicate.hpp>
#include <openssl/crypto.h>
#include <openssl/sha.h>

#include <locale>

namespace lumivane::service {

BearerToken::BearerToken(std::string_view token)
    : m_digest(digest(token)) {}

BearerToken::Digest BearerToken::digest(std::string_view text) {
    Digest digest{};
    SHA256(reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest.data());
    return digest;
}

bool BearerToken::matches(const std::optional<std::string>& authorization) const {
    if (!authorization) {
        return false;
    }
    const auto credentials = bearerCredentials(*authorization);
    if (!credentials) {
        return false;
    }
    // Digests make both sides of equal length, so that not even the length shows in the time.
    const Digest offered = digest(*credentials);
    return CRYPTO_memcmp(offered.data(), m_digest.data(), m_digest.size()) == 0;
}

std::optional<std::string_view> bearerCredentials(std::string_view authorization) {
    constexpr std::string_view scheme = "bearer ";
    if (!boost::algorithm::istarts_with(authorization, scheme, std::locale::classic())) {
        return std::nullopt;
    }
    authorization.remove_prefix(scheme.size());
    const auto first = authorization.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return std::nullopt;
    }
    return authorization.substr(first);
}

} // namespace lumivane::service
