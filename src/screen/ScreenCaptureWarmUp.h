#pragma once

#include "async/Clock.h"
#include "platform/DisplayServer.h"
#include "screen/ScreenCapturing.h"

#include <QThreadPool>

#include <chrono>
#include <cstdint>
#include <memory>

namespace lumivane {

/// Takes the capture path through its first use while nobody waits for it. Main thread only,
/// which is what makes its two guards safe; the display server is asked on the pool.
class ScreenCaptureWarmUp final : public CaptureWarming {
public:
    /// Calls within this of the last attempt do nothing.
    static constexpr std::chrono::seconds minimumInterval{2};

    /// All three outlive it and every warm-up that it began. Windows of `processID` are ours.
    ScreenCaptureWarmUp(const DisplayServer& displayServer, QThreadPool& pool, const Clock& clock,
                        std::int64_t processID);
    ~ScreenCaptureWarmUp() override;

    /// Does nothing without the permission, so that it can never bring up a prompt, and while
    /// another warm-up runs.
    QCoro::Task<void> warmUp() override;

private:
    struct State;

    static QCoro::Task<void> run(std::shared_ptr<State> state);
    static QCoro::Task<bool> askForContent(std::shared_ptr<State> state);

    std::shared_ptr<State> m_state; ///< shared with a running warm-up, which may outlive us
};

} // namespace lumivane
