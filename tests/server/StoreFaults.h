#pragma once

#include "server/store/Database.h"
#include "support/WaitForCondition.h"

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>

namespace lumivane::service::test {

/// How the store refused `work`; "none" where it did not.
template <typename Work>
std::string caseOf(Work work) {
    try {
        work();
    } catch (const StoreError& error) {
        return std::string(rawValue(error.errorCase()));
    }
    return "none";
}

/// Changes the database by one row.
inline void addRow(Database& database) {
    database.transact([](soci::session& sql) {
        sql << "INSERT INTO service_secrets (name, value) "
               "SELECT 'row ' || COUNT(*), 'value' FROM service_secrets";
    });
}

/// How many there are.
inline long long rows(Database& database) {
    return database.read([](soci::session& sql) {
        long long count = 0;
        sql << "SELECT COUNT(*) FROM service_secrets", soci::into(count);
        return count;
    });
}

/// A program that is in the middle of a change, from a thread of its own until this goes.
class Holder {
public:
    explicit Holder(Database& database)
        : m_thread([this, &database] { hold(database); }) {
        if (!lumivane::test::waitForCondition([this] { return m_holds.load(); })) {
            m_mayEnd = true;
            throw std::runtime_error("the database cannot be held");
        }
    }

    ~Holder() { m_mayEnd = true; }

    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

private:
    void hold(Database& database) {
        try {
            database.transact([this](soci::session& sql) {
                sql << "INSERT INTO service_secrets (name, value) VALUES ('holder', 'x')";
                m_holds = true;
                lumivane::test::waitForCondition([this] { return m_mayEnd.load(); });
            });
        } catch (const StoreError&) {
            // Whoever holds for too long is put out; tests look at what that leaves.
            return;
        }
    }

    std::atomic<bool> m_holds = false;
    std::atomic<bool> m_mayEnd = false;
    std::jthread m_thread;
};

} // namespace lumivane::service::test
