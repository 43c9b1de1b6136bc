#pragma once

#include "platform/TextRecogniser.h"
#include "platform/linux/PageImage.h"
#include "platform/linux/RecognitionWorkers.h"
#include "platform/linux/TesseractEngine.h"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <stop_token>
#include <vector>

namespace lumivane {

/// One page on its way through the workers: one of them finds the text, then all of them read it,
/// segment by segment. It keeps itself alive until the last of them lets go.
class PageReading : public std::enable_shared_from_this<PageReading> {
public:
    /// `workers` outlives every task of it.
    PageReading(PageImage page, RecognitionWorkers& workers, std::stop_token stop);

    /// Reads the page and blocks until that is done. A requested stop throws Cancelled at once;
    /// the workers let go of the page as soon as they notice.
    std::vector<RecognisedRun> run();

private:
    void findText(const RecognitionWorkers::EngineSource& engine);
    void shareOut();
    void readSegments(const RecognitionWorkers::EngineSource& engine);
    void readUnclaimed(TesseractEngine& engine);
    void finish(std::exception_ptr error);

    const PageImage m_page;
    RecognitionWorkers& m_workers;
    const std::stop_token m_stop;
    std::vector<TextSegment> m_segments;            ///< in reading order
    std::vector<std::size_t> m_longestFirst;        ///< indices of segments
    std::vector<std::vector<RecognisedRun>> m_runs; ///< of each segment; each has one writer
    std::atomic<std::size_t> m_nextUnclaimed = 0;   ///< into m_longestFirst
    std::atomic<int> m_readers = 0;
    std::mutex m_mutex;
    std::condition_variable_any m_finished;
    bool m_isFinished = false;
    std::exception_ptr m_error;
};

} // namespace lumivane
