#pragma once

#include "server/ManualWallClock.h"
#include "server/PostgresServer.h"
#include "server/TemporaryFolder.h"
#include "server/store/Database.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace lumivane::service::test {

enum class Engine { sqlite, postgres };

/// A database of its own for one test, empty but for the schema.
class TestStore {
public:
    explicit TestStore(Engine engine);

    const DatabaseSettings& settings() const { return m_settings; }

    Database& database() { return *m_database; }

    /// What another replica would hold.
    std::unique_ptr<Database> openAnother() const { return Database::open(m_settings); }

    /// The first column of the first row of `query`, as a number; -1 where there is none.
    long long number(const std::string& query);

    /// Runs one statement that needs no values.
    void execute(const std::string& statement);

    /// Takes the database away for good.
    void breakDown();

private:
    TemporaryFolder m_folder;
    std::optional<LentDatabase> m_lent; // of a server; outlives all that uses it
    DatabaseSettings m_settings;
    std::unique_ptr<Database> m_database;
};

/// Runs each of its tests on both engines. In a test file:
///
///     class DevicesTest : public StoreTest {};
///     INSTANTIATE_TEST_SUITE_P(Engines, DevicesTest, everyEngine(), engineName);
///     TEST_P(DevicesTest, ...) { store().database().transact(...); }
class StoreTest : public ::testing::TestWithParam<Engine> {
protected:
    TestStore& store() { return m_store; }

    Database& database() { return m_store.database(); }

    ManualWallClock& clock() { return m_clock; }

private:
    TestStore m_store{GetParam()};
    ManualWallClock m_clock;
};

inline auto everyEngine() { return ::testing::Values(Engine::sqlite, Engine::postgres); }

std::string engineName(const ::testing::TestParamInfo<Engine>& info);

} // namespace lumivane::service::test
