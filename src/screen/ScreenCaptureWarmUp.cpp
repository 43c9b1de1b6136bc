#include "screen/ScreenCaptureWarmUp.h"

#include "async/PoolJob.h"
#include "telemetry/LumivaneLog.h"
#include "telemetry/LumivaneSignpost.h"

#include <exception>
#include <functional>
#include <optional>
#include <utility>

namespace lumivane {

struct ScreenCaptureWarmUp::State {
    const DisplayServer& displayServer;
    QThreadPool& pool;
    const Clock& clock;
    std::int64_t processID;
    std::optional<MonotonicInstant> lastAttemptedAt = std::nullopt;
    bool isWarming = false;
};

namespace {

/// One pixel is enough: it takes the server and our side through every step of a capture.
void touchCapturePath(const DisplayServer& displayServer, std::int64_t processID) {
    const auto displays = displayServer.displays();
    if (!displays.empty()) {
        displayServer.still({displays.front().displayID, processID, std::nullopt, {1, 1}});
    }
}

} // namespace

ScreenCaptureWarmUp::ScreenCaptureWarmUp(const DisplayServer& displayServer, QThreadPool& pool,
                                         const Clock& clock, std::int64_t processID)
    : m_state(std::make_shared<State>(State{displayServer, pool, clock, processID})) {}

ScreenCaptureWarmUp::~ScreenCaptureWarmUp() = default;

QCoro::Task<void> ScreenCaptureWarmUp::warmUp() { return run(m_state); }

QCoro::Task<void> ScreenCaptureWarmUp::run(std::shared_ptr<State> state) {
    if (!state->displayServer.mayCapture() || state->isWarming) {
        co_return;
    }
    const MonotonicInstant now = state->clock.now();
    if (state->lastAttemptedAt && now - *state->lastAttemptedAt < minimumInterval) {
        co_return;
    }
    state->lastAttemptedAt = now;
    state->isWarming = true;
    const std::function<QCoro::Task<bool>()> operation = [state] { return askForContent(state); };
    const auto measured =
        co_await LumivaneSignpost::measure<bool>(LumivaneSignpost::warmUp, state->clock, operation);
    state->isWarming = false;
    LumivaneLog::capture.debug("Capture path warm-up finished; succeeded=%{bool,public}d "
                               "durationMS=%{public}ld",
                               measured.value, measured.milliseconds);
}

QCoro::Task<bool> ScreenCaptureWarmUp::askForContent(std::shared_ptr<State> state) {
    auto touch = [state](const std::stop_token&) {
        touchCapturePath(state->displayServer, state->processID);
    };
    try {
        co_await runOnPool(state->pool, std::move(touch), std::stop_token());
        co_return true;
    } catch (const std::exception&) {
        co_return false;
    }
}

} // namespace lumivane
