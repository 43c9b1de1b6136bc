#include "server/accounts/SessionDirectory.h"

#include "server/accounts/AccountError.h"
#include "server/accounts/SessionRows.h"
#include "server/store/Database.h"

#include <algorithm>

namespace lumivane::service {

namespace {

std::vector<std::string> deviceIds(soci::session& sql, const std::string& accountId) {
    std::vector<std::string> ids;
    const soci::rowset<std::string> rows =
        (sql.prepare << "SELECT device_id FROM devices WHERE account_id = :account "
                        "ORDER BY last_seen_at DESC, device_id",
         soci::use(accountId));
    std::copy(rows.begin(), rows.end(), std::back_inserter(ids));
    return ids;
}

} // namespace

UserSummary SessionDirectory::user(const Principal& principal) {
    return m_database.read([&](soci::session& sql) {
        UserSummary user = loadUser(sql, principal.accountId);
        if (user.handle.empty()) {
            throw AccountError(unauthorized());
        }
        return user;
    });
}

std::vector<KnownDevice> SessionDirectory::devices(const Principal& principal) {
    auto devices = m_database.read([&](soci::session& sql) {
        std::vector<KnownDevice> found;
        for (const std::string& id : deviceIds(sql, principal.accountId)) {
            if (auto device = findDevice(sql, principal.accountId, id)) {
                found.push_back(std::move(*device));
            }
        }
        return found;
    });
    std::stable_partition(devices.begin(), devices.end(), [&](const KnownDevice& device) {
        return principal.deviceId == device.identifier;
    });
    return devices;
}

void SessionDirectory::signOut(const Principal& principal) {
    const WallTime now = m_clock.now();
    m_database.transact([&](soci::session& sql) {
        endSession(sql, principal.sessionId, SessionEnd::signedOut, now);
    });
}

} // namespace lumivane::service
