#include "support/FakeTextRecogniser.h"

#include "async/Cancelled.h"

#include <utility>

namespace lumivane::test {

std::vector<RecognisedRun> FakeTextRecogniser::recognise(const QImage& image,
                                                         std::stop_token stop) {
    std::unique_lock lock(m_mutex);
    m_images.push_back(image);
    waitForRelease(lock, stop);
    if (m_failure) {
        throw TextRecogniserError(*m_failure);
    }
    return m_runs;
}

void FakeTextRecogniser::waitForRelease(std::unique_lock<std::mutex>& lock,
                                        const std::stop_token& stop) {
    ++m_holdingCount;
    m_released.wait(lock, stop, [this] { return !m_isHeld; });
    --m_holdingCount;
    if (!stop.stop_requested() || m_onStop == OnStop::answerAllTheSame) {
        return;
    }
    if (m_onStop == OnStop::failInItsOwnWords) {
        throw TextRecogniserError("request was cancelled");
    }
    throw Cancelled{};
}

void FakeTextRecogniser::prepare() {}

void FakeTextRecogniser::setRuns(std::vector<RecognisedRun> runs) {
    const std::lock_guard lock(m_mutex);
    m_runs = std::move(runs);
}

void FakeTextRecogniser::setFailure(std::string words) {
    const std::lock_guard lock(m_mutex);
    m_failure = std::move(words);
}

void FakeTextRecogniser::hold(OnStop onStop) {
    const std::lock_guard lock(m_mutex);
    m_isHeld = true;
    m_onStop = onStop;
}

void FakeTextRecogniser::release() {
    {
        const std::lock_guard lock(m_mutex);
        m_isHeld = false;
    }
    m_released.notify_all();
}

std::vector<QImage> FakeTextRecogniser::images() const {
    const std::lock_guard lock(m_mutex);
    return m_images;
}

bool FakeTextRecogniser::isHolding() const {
    const std::lock_guard lock(m_mutex);
    return m_holdingCount > 0 && m_isHeld;
}

} // namespace lumivane::test
