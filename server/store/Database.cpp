#include "server/store/Database.h"

#include "server/store/Migrations.h"
#include "server/store/PostgresEngine.h"
#include "server/store/SqliteEngine.h"
#include "server/store/WallClock.h"

namespace lumivane::service {

bool namesServer(const std::string& location) {
    return location.starts_with("postgresql://") || location.starts_with("postgres://");
}

Database::Database(std::unique_ptr<StoreEngine> engine)
    : m_engine(std::move(engine)) {}

std::unique_ptr<Database> Database::open(const DatabaseSettings& settings) {
    auto engine = namesServer(settings.location) ? openPostgres(settings) : openSqlite(settings);
    const std::int64_t now = storedTime(SystemWallClock().now());
    engine->migrate([now](soci::session& sql) { applyMigrations(sql, migrations(), now); });
    return std::make_unique<Database>(std::move(engine));
}

} // namespace lumivane::service
