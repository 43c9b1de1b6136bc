#pragma once

#include "server/analysis/AnalysisEngine.h"
#include "server/memory/PracticeMemory.h"

#include <boost/asio/thread_pool.hpp>

#include <memory>

namespace lumivane::service {

/// Answers LeetCode from the practice memory where it knows the exercise; everything else goes to
/// the engine behind it.
class PracticeEngine : public AnalysisEngine {
public:
    /// No memory is as good as one that knows nothing. The search runs on `pool`, which must
    /// outlive the engine.
    PracticeEngine(std::unique_ptr<PracticeMemory> memory, std::unique_ptr<AnalysisEngine> next,
                   boost::asio::thread_pool& pool);

    boost::asio::awaitable<AnalysisAnswer> analyze(AnalyzeRequest request) override;

    /// True with a memory or with a model behind it.
    std::optional<bool> answersLeetCode() const override;

private:
    bool hasModel() const;

    std::unique_ptr<PracticeMemory> m_memory;
    std::unique_ptr<AnalysisEngine> m_next;
    boost::asio::thread_pool& m_pool;
};

} // namespace lumivane::service
