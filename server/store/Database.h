#pragma once

#include "server/store/DatabaseSettings.h"
#include "server/store/StoreEngine.h"
#include "server/store/StoreError.h"

#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace lumivane::service {

/// Is told of every failure but a conflict, which is an answer and no trouble of the database's. On
/// the thread of the failed call; must not throw.
using StoreWatcher = std::function<void(const StoreError&)>;

/// The one thing that replicas share: a SQLite file or a PostgreSQL database with one schema.
///
/// Every call blocks, so it is made on a work pool and never on the network thread:
///
///     auto work = [&database, hash] {
///         return database.transact([&](soci::session& sql) { return endSession(sql, hash); });
///     };
///     auto ending = runOnWorkPool(pool, std::move(work));
///     const Ending ended = co_await std::move(ending);
///
/// `work` may run several times, since a transaction that met another is tried again, and on the
/// thread of another caller: it has no effect but through its session and takes the time outside.
/// It never catches an error of the session, and never calls the database again. A change that
/// must last although the request is refused is returned as a value; what is thrown undoes it all.
class Database {
public:
    /// Connects and brings the schema up to this version; safe when several replicas start at
    /// once. Throws StoreError.
    static std::unique_ptr<Database> open(const DatabaseSettings& settings,
                                          StoreWatcher watcher = {});

    /// For the one above, and for tests that bring an engine of their own.
    explicit Database(std::unique_ptr<StoreEngine> engine, StoreWatcher watcher = {});

    /// Runs `work(soci::session&)` in one transaction and gives what it returned, once that is
    /// safe on disk. Throws StoreError, and whatever `work` throws.
    template <typename Work>
    auto transact(Work work) {
        return run(&StoreEngine::write, std::move(work));
    }

    /// As `transact` for work that only reads: it sees one picture of the data, waits for no
    /// writer and may be a moment behind one that is just ending.
    template <typename Work>
    auto read(Work work) {
        return run(&StoreEngine::read, std::move(work));
    }

private:
    /// Runs one call, and tells the watcher where the database failed in it.
    void watched(void (StoreEngine::*mode)(const StoreWork&), const StoreWork& work);

    template <typename Work>
    auto run(void (StoreEngine::*mode)(const StoreWork&), Work work)
        -> std::invoke_result_t<Work&, soci::session&> {
        using Result = std::invoke_result_t<Work&, soci::session&>;
        if constexpr (std::is_void_v<Result>) {
            watched(mode, [&work](soci::session& sql) { work(sql); });
        } else {
            std::optional<Result> result;
            watched(mode, [&](soci::session& sql) { result.emplace(work(sql)); });
            return std::move(*result);
        }
    }

    std::unique_ptr<StoreEngine> m_engine;
    StoreWatcher m_watcher;
};

} // namespace lumivane::service
