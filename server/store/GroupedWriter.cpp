#include "server/store/GroupedWriter.h"

#include <algorithm>

namespace lumivane::service {

std::size_t GroupedWriter::waiting() const {
    const std::lock_guard lock(m_mutex);
    return m_waiting.size();
}

std::vector<GroupedWriter::Job*> GroupedWriter::takeGroup() {
    const auto count = static_cast<std::ptrdiff_t>(std::min(m_waiting.size(), largestGroup));
    std::vector<Job*> group(m_waiting.begin(), m_waiting.begin() + count);
    m_waiting.erase(m_waiting.begin(), m_waiting.begin() + count);
    return group;
}

void GroupedWriter::run(const StoreWork& work) {
    Job job;
    job.work = &work;
    std::unique_lock lock(m_mutex);
    m_waiting.push_back(&job);
    while (!job.isDone) {
        if (m_isCommitting) {
            m_changed.wait(lock);
            continue;
        }
        m_isCommitting = true;
        const std::vector<Job*> group = takeGroup();
        lock.unlock();
        m_commit(group);
        lock.lock();
        m_isCommitting = false;
        for (Job* done : group) {
            done->isDone = true;
        }
        m_changed.notify_all();
    }
    lock.unlock();
    if (job.failure) {
        std::rethrow_exception(job.failure);
    }
}

} // namespace lumivane::service
