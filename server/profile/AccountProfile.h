#pragma once

#include "server/accounts/UserSummary.h"
#include "server/http/HttpMessage.h"
#include "server/profile/ProfileRecords.h"

namespace lumivane::service {

class Database;

/// What a person calls themselves, in the database. Every call blocks; any thread.
class AccountProfile {
public:
    /// The database must outlive the object.
    explicit AccountProfile(Database& database)
        : m_database(database) {}

    /// Makes the change whole or not at all, and gives the account as it is then. Another case of
    /// one's own handle is free. Of several who want one handle at once exactly one gets it. Throws
    /// AccountError 409 "handle_taken" and, for an account that is gone, 401 "unauthorized"; throws
    /// StoreError.
    UserSummary change(const Principal& principal, const ProfileChange& wanted);

    /// Whether the caller could have the handle now; their own counts as available. Throws
    /// StoreError.
    HandleAvailability availability(const Principal& principal, const std::string& handle);

private:
    Database& m_database;
};

} // namespace lumivane::service
