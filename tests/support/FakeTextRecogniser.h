#pragma once

#include "platform/TextRecogniser.h"

#include <QImage>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace lumivane::test {

/// Answers with the runs that a test scripted, and records what it was asked. Any thread.
class FakeTextRecogniser final : public TextRecogniser {
public:
    /// How a held call takes a stop.
    enum class OnStop { throwCancelled, failInItsOwnWords, answerAllTheSame };

    std::vector<RecognisedRun> recognise(const QImage& image, std::stop_token stop) override;
    void prepare() override;

    /// What every call answers from now on.
    void setRuns(std::vector<RecognisedRun> runs);

    /// Every call fails from now on.
    void setFailure(std::string words);

    /// Calls block from now on until `release` or their stop.
    void hold(OnStop onStop = OnStop::throwCancelled);
    void release();

    /// The images asked for so far.
    std::vector<QImage> images() const;

    /// True while a call is held.
    bool isHolding() const;

private:
    void waitForRelease(std::unique_lock<std::mutex>& lock, const std::stop_token& stop);

    mutable std::mutex m_mutex;
    std::condition_variable_any m_released;
    std::vector<RecognisedRun> m_runs;
    std::optional<std::string> m_failure;
    std::vector<QImage> m_images;
    OnStop m_onStop = OnStop::throwCancelled;
    bool m_isHeld = false;
    int m_holdingCount = 0;
};

} // namespace lumivane::test
