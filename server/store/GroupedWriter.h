#pragma once

#include "server/store/StoreEngine.h"

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <vector>

namespace lumivane::service {

/// Lets callers who come while a commit is under way share the next one. A database with a single
/// writer waits for the disk once per commit, so a burst costs a few waits instead of one each,
/// while a caller who comes alone waits for nobody.
class GroupedWriter {
public:
    struct Job {
        const StoreWork* work = nullptr;
        std::exception_ptr failure; ///< set by the commit where this job came to nothing
        bool isDone = false;
    };

    /// Runs all jobs of a group and makes them last, on the thread of one of the callers. Never
    /// called twice at once; it must not throw.
    using Commit = std::function<void(const std::vector<Job*>& group)>;

    explicit GroupedWriter(Commit commit)
        : m_commit(std::move(commit)) {}

    /// Comes back once `work` lasts, or throws what its job failed with. Any thread.
    void run(const StoreWork& work);

    /// How many callers wait for a commit to begin.
    std::size_t waiting() const;

    /// How many share a commit at most, so that the first of them does not wait for ever.
    static constexpr std::size_t largestGroup = 64;

private:
    std::vector<Job*> takeGroup();

    const Commit m_commit;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Job*> m_waiting;
    bool m_isCommitting = false;
};

} // namespace lumivane::service
