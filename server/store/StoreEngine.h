#pragma once

#include <soci/soci.h>

#include <functional>

namespace lumivane::service {

using StoreWork = std::function<void(soci::session&)>;

/// One kind of database. All calls block and may come from any thread. What the work throws passes
/// on after its changes are undone; whatever the database itself refuses becomes a StoreError.
class StoreEngine {
public:
    StoreEngine() = default;
    StoreEngine(const StoreEngine&) = delete;
    StoreEngine& operator=(const StoreEngine&) = delete;
    virtual ~StoreEngine() = default;

    /// Runs `work` as if nobody else wrote meanwhile, maybe several times, and makes it last.
    virtual void write(const StoreWork& work) = 0;

    /// Runs `work` on one unchanging picture of the data; it must not change any.
    virtual void read(const StoreWork& work) = 0;

    /// As `write`, but under a lock that all replicas share, for work that changes the schema.
    virtual void migrate(const StoreWork& work) = 0;
};

} // namespace lumivane::service
