#pragma once

#include "server/accounts/LoginRecords.h"

#include <string>
#include <vector>

namespace lumivane::service {

class Database;
struct Principal;

/// What somebody who is logged in may ask and do about their own session. Calls block; any thread,
/// any replica. All throw StoreError, and AccountError `unauthorized` for an account that was
/// deleted a moment ago.
class SessionDirectory {
public:
    SessionDirectory(Database& database, const WallClock& clock)
        : m_database(database)
        , m_clock(clock) {}

    UserSummary user(const Principal& principal);

    /// Every machine that ever held the account: first the one that asks, then by last use.
    std::vector<KnownDevice> devices(const Principal& principal);

    void signOut(const Principal& principal);

private:
    Database& m_database;
    const WallClock& m_clock;
};

} // namespace lumivane::service
