#pragma once

#include <qcoro/qcorotask.h>

namespace lumivane {

/// Starts the program once more: mechanism only. Main thread, which it does not block.
class Relauncher {
public:
    virtual ~Relauncher() = default;

    /// Starts a second instance in the background that is not merged with this one, and returns
    /// when it runs and this one's place in the session is its own. From then on it waits for the
    /// end of this process before it does anything that two instances could not both do. Throws
    /// std::exception when that failed; then no second instance is left, and this one has its
    /// place back.
    virtual QCoro::Task<void> startReplacement() = 0;
};

} // namespace lumivane
