#pragma once

#include "server/analysis/AnalysisEngine.h"

#include <boost/asio/thread_pool.hpp>

namespace lumivane::service {

/// Answers without a model, by picking sentences that stand on the screen. Summaries always,
/// prompts as far as they ask for a summary, deadlines or questions; the rest is a 422 that tells
/// which settings add a model.
class ExtractiveEngine : public AnalysisEngine {
public:
    /// The picking runs on `pool`, which must outlive the engine.
    explicit ExtractiveEngine(boost::asio::thread_pool& pool);

    boost::asio::awaitable<AnalysisAnswer> analyze(AnalyzeRequest request) override;

    std::optional<bool> answersLeetCode() const override { return false; }

private:
    boost::asio::thread_pool& m_pool;
};

/// What the engine does, on the caller's thread. Throws EngineError.
AnalysisAnswer extractAnswer(const AnalyzeRequest& request);

} // namespace lumivane::service
