#pragma once

#include <qcoro/qcorotask.h>

#include <exception>
#include <functional>
#include <memory>
#include <stop_token>

namespace lumivane {

/// Hears of an exception that a flow let escape, which is a mistake of that flow.
using EscapeHandler = std::function<void(std::exception_ptr)>;

/// A started flow that can be cancelled. Main thread only.
///
/// The flow begins in the next turn of the event loop, so a caller can store the handle first; it
/// begins even when cancelled by then, and meets Cancelled at its first wait. Cancelled ends a
/// flow quietly. Dropping or replacing a handle cancels the flow behind it.
class TaskHandle {
public:
    using Flow = std::function<QCoro::Task<void>(std::stop_token)>;

    TaskHandle() = default;

    ~TaskHandle() { cancel(); }

    TaskHandle(TaskHandle&&) noexcept = default;
    TaskHandle& operator=(TaskHandle&& other) noexcept;

    /// Starts a flow that the handle owns.
    static TaskHandle start(Flow flow);

    /// Starts a flow that nothing cancels; what escapes goes to the escape handler.
    static void detach(Flow flow);

    /// Where escaped exceptions of all flows go; the default ends the process, since nothing
    /// after it can be trusted. The flow counts as ended by then. The handler does not throw. Set
    /// once by the composition root.
    static void setEscapeHandler(EscapeHandler handler);

    /// Requests a stop. Harmless on an empty handle and after the end.
    void cancel();

    /// True from the start to the end of the flow, cancelled or not.
    bool isRunning() const;

    explicit operator bool() const { return m_state != nullptr; }

private:
    struct State {
        std::stop_source stop;
        bool done = false;
    };

    static QCoro::Task<void> run(Flow flow, std::shared_ptr<State> state);

    std::shared_ptr<State> m_state;
};

} // namespace lumivane
