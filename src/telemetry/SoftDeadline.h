#pragma once

#include "async/Clock.h"
#include "async/TaskHandle.h"

#include <chrono>
#include <functional>
#include <memory>

namespace lumivane {

/// What a run promises the user.
namespace AnalysisSLO {

/// After this the user is told that the run takes long.
inline constexpr std::chrono::seconds softDeadline{5};

} // namespace AnalysisSLO

/// Tells once that a run takes longer than it should; the run goes on. Main thread only.
class SoftDeadline {
public:
    /// `clock` outlives the deadline.
    explicit SoftDeadline(Clock& clock);

    /// True from `arm` to `cancel`, also once the deadline has fired.
    bool isArmed() const { return static_cast<bool>(m_task); }

    /// True once the deadline has fired, until it is armed again; `cancel` leaves it.
    bool hasElapsed() const { return *m_hasElapsed; }

    /// Starts the deadline, instead of one that is running.
    void arm(std::chrono::nanoseconds delay, std::function<void()> onElapse);

    void cancel();

private:
    static QCoro::Task<void> run(Clock* clock, std::chrono::nanoseconds delay,
                                 std::weak_ptr<bool> hasElapsed, std::function<void()> onElapse,
                                 std::stop_token stop);

    Clock& m_clock;
    TaskHandle m_task;
    std::shared_ptr<bool> m_hasElapsed; ///< its life is that of the deadline
};

} // namespace lumivane
