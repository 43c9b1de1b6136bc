#pragma once

#include "server/accounts/AuthProvider.h"

#include <boost/json/object.hpp>

#include <optional>
#include <string>
#include <vector>

namespace soci {
class session;
}

namespace lumivane::service {

/// What a person sees of their account.
struct UserSummary {
    std::string displayName;
    std::optional<std::string> verifiedEmail;  ///< of the identity that was linked first
    std::vector<AuthProvider> linkedProviders; ///< in the order of the set
    std::string handle;

    bool operator==(const UserSummary&) const = default;
};

/// Reads an account that must exist; within the caller's transaction.
UserSummary loadUser(soci::session& sql, const std::string& accountId);

/// "display_name", "verified_email" where there is one, "linked_providers", "handle".
boost::json::object encodeUser(const UserSummary& user);

} // namespace lumivane::service
