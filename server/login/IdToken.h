#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// What an identity token must say to be believed.
struct IdTokenRules {
    std::string issuer;
    std::string audience; ///< the client identifier
    std::string nonce;    ///< the one that this login was begun with
    std::int64_t now = 0; ///< Unix seconds
    /// The user must have logged in at the provider since then, and the token must say so.
    std::optional<std::int64_t> authenticatedSince = std::nullopt;
};

/// The claims of an OpenID identity token: signed by a key of `keySet` (RS256 or ES256), of this
/// issuer, for this audience alone, not expired, with this nonce and a subject. None where any of
/// it does not hold.
std::optional<boost::json::object> claimsOfIdToken(std::string_view token,
                                                   const boost::json::value& keySet,
                                                   const IdTokenRules& rules);

} // namespace lumivane::service
