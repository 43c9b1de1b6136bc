#pragma once

#include <soci/soci.h>

#include <cstdint>
#include <vector>

namespace lumivane::service {

/// One step of the schema. What has been released is never changed, only followed by another.
struct Migration {
    std::int64_t version;
    std::vector<const char*> statements;
};

/// All steps, in order.
const std::vector<Migration>& migrations();

/// Takes the steps that the database has not seen, within the caller's transaction, which nobody
/// else may run beside. Throws StoreError `incompatible` for a database that a newer version of the
/// service has changed.
void applyMigrations(soci::session& sql, const std::vector<Migration>& steps, std::int64_t now);

} // namespace lumivane::service
