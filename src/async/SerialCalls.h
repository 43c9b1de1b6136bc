#pragma once

#include "async/Completion.h"

#include <qcoro/qcorotask.h>

#include <functional>
#include <memory>
#include <stop_token>

namespace lumivane {

/// Runs calls one after another, in the order in which they came. Main thread only.
///
/// A requested stop ends the caller's wait at once, but a call that has begun keeps its turn until
/// it has really ended, since what works for it cannot always be torn down: it gets the token to
/// look at. A call that was stopped before its turn never begins. Calls under way outlive this.
class SerialCalls {
public:
    using Call = std::function<QCoro::Task<void>(std::stop_token)>;

    SerialCalls();

    /// Throws what the call throws, or Cancelled once a stop is requested.
    QCoro::Task<void> run(Call call, std::stop_token stop) const;

private:
    struct Line;

    static QCoro::Task<void> perform(std::shared_ptr<Line> line, Call call,
                                     Completion<void> finished, std::stop_token stop);

    std::shared_ptr<Line> m_line;
};

} // namespace lumivane
