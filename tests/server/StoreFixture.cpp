#include "server/StoreFixture.h"

namespace lumivane::service::test {

TestStore::TestStore(Engine engine) {
    if (engine == Engine::postgres) {
        m_lent.emplace(PostgresServer::shared());
    }
    m_settings.location =
        m_lent ? m_lent->url() : (m_folder.path() / "data" / "accounts.sqlite").string();
    m_database = Database::open(m_settings);
}

long long TestStore::number(const std::string& query) {
    return m_database->read([&query](soci::session& sql) {
        long long value = -1;
        soci::indicator indicator = soci::i_ok;
        sql << query, soci::into(value, indicator);
        return sql.got_data() && indicator == soci::i_ok ? value : -1;
    });
}

void TestStore::execute(const std::string& statement) {
    m_database->transact([&statement](soci::session& sql) { sql << statement; });
}

void TestStore::breakDown() {
    if (m_lent) {
        PostgresServer::shared().dropDatabase(m_settings.location);
    } else {
        std::filesystem::remove_all(std::filesystem::path(m_settings.location).parent_path());
    }
}

std::string engineName(const ::testing::TestParamInfo<Engine>& info) {
    return info.param == Engine::sqlite ? "sqlite" : "postgres";
}

} // namespace lumivane::service::test
