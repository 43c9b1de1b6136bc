#include "server/store/Database.h"

#include "server/store/Migrations.h"
#include "server/store/PostgresEngine.h"
#include "server/store/SqliteEngine.h"
#include "server/store/WallClock.h"

namespace lumivane::service {

std::string_view rawValue(StoreError::Case errorCase) {
    switch (errorCase) {
    case StoreError::Case::unavailable:
        return "unavailable";
    case StoreError::Case::busy:
        return "busy";
    case StoreError::Case::incompatible:
        return "incompatible";
    case StoreError::Case::conflict:
        break;
    }
    return "conflict";
}

bool namesServer(const std::string& location) {
    return location.starts_with("postgresql://") || location.starts_with("postgres://");
}

Database::Database(std::unique_ptr<StoreEngine> engine, StoreWatcher watcher)
    : m_engine(std::move(engine))
    , m_watcher(std::move(watcher)) {}

std::unique_ptr<Database> Database::open(const DatabaseSettings& settings, StoreWatcher watcher) {
    auto engine = namesServer(settings.location) ? openPostgres(settings) : openSqlite(settings);
    const std::int64_t now = storedTime(SystemWallClock().now());
    engine->migrate([now](soci::session& sql) { applyMigrations(sql, migrations(), now); });
    return std::make_unique<Database>(std::move(engine), std::move(watcher));
}

void Database::watched(void (StoreEngine::*mode)(const StoreWork&), const StoreWork& work) {
    try {
        ((*m_engine).*mode)(work);
    } catch (const StoreError& error) {
        if (m_watcher && error.errorCase() != StoreError::Case::conflict) {
            m_watcher(error);
        }
        throw;
    }
}

} // namespace lumivane::service
