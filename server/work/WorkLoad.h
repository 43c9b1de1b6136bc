#pragma once

#include <boost/asio/execution_context.hpp>

#include <atomic>
#include <cstdint>

namespace lumivane::service {

/// How much work one pool has: kept with the pool itself, and counted by runOnWorkPool. For any
/// thread.
class WorkLoad : public boost::asio::execution_context::service {
public:
    using key_type = WorkLoad;
    static boost::asio::execution_context::id id;

    explicit WorkLoad(boost::asio::execution_context& pool);

    /// The load of a pool, made at the first call. Lives as long as the pool.
    static WorkLoad& of(boost::asio::execution_context& pool);

    void addWaiting() { ++m_waiting; }

    void startOne() {
        --m_waiting;
        ++m_running;
    }

    void endOne() { --m_running; }

    /// Handed over and not yet begun.
    std::int64_t waiting() const { return m_waiting; }

    std::int64_t running() const { return m_running; }

private:
    void shutdown() override {}

    std::atomic<std::int64_t> m_waiting = 0;
    std::atomic<std::int64_t> m_running = 0;
};

/// Counts one piece of work as running, in its scope.
class RunningWork {
public:
    explicit RunningWork(WorkLoad& load)
        : m_load(load) {
        m_load.startOne();
    }

    ~RunningWork() { m_load.endOne(); }

    RunningWork(const RunningWork&) = delete;
    RunningWork& operator=(const RunningWork&) = delete;

private:
    WorkLoad& m_load;
};

} // namespace lumivane::service
