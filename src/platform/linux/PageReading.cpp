#include "platform/linux/PageReading.h"

#include "async/Cancelled.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace lumivane {

PageReading::PageReading(PageImage page, RecognitionWorkers& workers, std::stop_token stop)
    : m_page(std::move(page))
    , m_workers(workers)
    , m_stop(std::move(stop)) {}

std::vector<RecognisedRun> PageReading::run() {
    m_workers.submit([self = shared_from_this()](const auto& engine) { self->findText(engine); });
    std::unique_lock lock(m_mutex);
    // The layout pass cannot be stopped, so the wait for it is.
    m_finished.wait(lock, m_stop, [this] { return m_isFinished; });
    throwIfStopped(m_stop);
    if (m_error) {
        std::rethrow_exception(m_error);
    }
    std::vector<RecognisedRun> all;
    for (std::vector<RecognisedRun>& runs : m_runs) {
        std::move(runs.begin(), runs.end(), std::back_inserter(all));
    }
    return all;
}

void PageReading::findText(const RecognitionWorkers::EngineSource& engine) {
    try {
        throwIfStopped(m_stop);
        m_segments = engine().findText(m_page);
        throwIfStopped(m_stop);
        shareOut();
    } catch (...) {
        finish(std::current_exception());
        return;
    }
    readSegments(engine);
}

void PageReading::shareOut() {
    m_runs.resize(m_segments.size());
    m_longestFirst.resize(m_segments.size());
    std::iota(m_longestFirst.begin(), m_longestFirst.end(), std::size_t{0});
    // So that no worker is left with a long one at the end.
    std::stable_sort(m_longestFirst.begin(), m_longestFirst.end(),
                     [this](std::size_t left, std::size_t right) {
                         return m_segments[left].area.width() > m_segments[right].area.width();
                     });
    m_readers = m_workers.count();
    for (int other = 1; other < m_workers.count(); ++other) {
        m_workers.submit(
            [self = shared_from_this()](const auto& engine) { self->readSegments(engine); });
    }
}

void PageReading::readSegments(const RecognitionWorkers::EngineSource& engine) {
    std::exception_ptr error;
    try {
        // A page without work left needs no recogniser loaded for it.
        if (m_nextUnclaimed < m_segments.size()) {
            readUnclaimed(engine());
        }
    } catch (...) {
        error = std::current_exception();
    }
    if (--m_readers == 0 || error) {
        finish(error);
    }
}

void PageReading::readUnclaimed(TesseractEngine& engine) {
    std::size_t claimed = 0;
    while ((claimed = m_nextUnclaimed++) < m_segments.size()) {
        throwIfStopped(m_stop);
        const std::size_t index = m_longestFirst[claimed];
        m_runs[index] = textRuns(engine.read(m_page, m_segments[index], m_stop),
                                 {m_page.width(), m_page.height()});
    }
}

void PageReading::finish(std::exception_ptr error) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_isFinished) {
            return;
        }
        m_isFinished = true;
        m_error = std::move(error);
    }
    m_nextUnclaimed = m_segments.size();
    m_finished.notify_all();
}

} // namespace lumivane
