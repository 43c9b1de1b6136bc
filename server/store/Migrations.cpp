#include "server/store/Migrations.h"

#include "server/store/StoreError.h"

namespace lumivane::service {

namespace {

std::int64_t versionOf(soci::session& sql) {
    sql << "CREATE TABLE IF NOT EXISTS schema_migrations ("
           "version BIGINT PRIMARY KEY, applied_at BIGINT NOT NULL)";
    long long version = 0;
    sql << "SELECT COALESCE(MAX(version), 0) FROM schema_migrations", soci::into(version);
    return version;
}

} // namespace

void applyMigrations(soci::session& sql, const std::vector<Migration>& steps, std::int64_t now) {
    const std::int64_t current = versionOf(sql);
    if (!steps.empty() && current > steps.back().version) {
        throw StoreError(StoreError::Case::incompatible,
                         "the database belongs to a newer version of the service");
    }
    for (const Migration& step : steps) {
        if (step.version <= current) {
            continue;
        }
        for (const char* statement : step.statements) {
            sql << statement;
        }
        const long long version = step.version;
        const long long appliedAt = now;
        sql << "INSERT INTO schema_migrations (version, applied_at) VALUES (:version, :at)",
            soci::use(version), soci::use(appliedAt);
    }
}

} // namespace lumivane::service
