#pragma once

#include "server/store/WallClock.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace lumivane::service {

class Database;

struct HandleFilterSettings {
    double falsePositiveRate = 0.01;
    /// The handles are compared with what the filter holds at most this often, by all replicas
    /// together, and a new version comes out only when they differ.
    std::chrono::milliseconds checkInterval = std::chrono::minutes(1);
    /// What nobody has compared for so long is compared before it is handed out.
    std::chrono::milliseconds longestAge = std::chrono::minutes(10);
    /// After this a replica that builds counts as lost, and another one may begin.
    std::chrono::milliseconds buildLease = std::chrono::minutes(2);
    /// Handles that are read in one transaction.
    std::int64_t pageSize = 10'000;
};

/// One version of the filter, the same bytes on every replica.
struct PublishedHandleFilter {
    std::string version; ///< letters, digits, "-" and "_"; the entity tag without its quotes
    std::string body;    ///< the JSON record
};

/// Builds the filter of all taken handles into the database and reads it from there, so that
/// replicas hand out the same version.
///
/// Between two builds the filter lags behind. A handle that was freed is still called taken, so
/// that the client asks the service, which knows better. One that was taken since is called free:
/// the field shows it as available, and saving it is refused as taken. Nobody gets a handle by the
/// filter's word.
///
/// Every call blocks, so it is made on a work pool; any number of threads at once.
class HandleFilterPublisher {
public:
    /// Database and clock must outlive the publisher.
    HandleFilterPublisher(Database& database, const WallClock& clock,
                          HandleFilterSettings settings = {});

    enum class Freshness {
        fresh,   ///< compared within the interval, or being built just now
        due,     ///< `rebuild` should run, beside the answer
        overdue, ///< `rebuild` should run before the answer
    };

    struct Current {
        std::shared_ptr<const PublishedHandleFilter> filter; ///< none before the first build
        Freshness freshness = Freshness::due;
    };

    /// Throws StoreError.
    Current current();

    /// Compares the handles with the filter and publishes a new version where they differ, unless
    /// that was done a moment ago or is being done by anybody. Returns whether a new version came
    /// out. Throws StoreError.
    bool rebuild();

private:
    std::optional<std::int64_t> takeLease();
    std::shared_ptr<const PublishedHandleFilter> load();

    Database& m_database;
    const WallClock& m_clock;
    const HandleFilterSettings m_settings;
    std::atomic<bool> m_isRebuilding = false;
    std::mutex m_mutex;
    std::shared_ptr<const PublishedHandleFilter> m_latest;
};

} // namespace lumivane::service
