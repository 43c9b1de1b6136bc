#pragma once

#include <qcoro/qcorotask.h>

namespace lumivane {

/// Starts the program anew. Main thread.
class AppRelaunching {
public:
    virtual ~AppRelaunching() = default;

    /// Starts a second instance and returns when it is running; the caller then ends this one.
    /// Throws the desktop's own std::exception, and then this one just goes on.
    virtual QCoro::Task<void> relaunch() = 0;
};

} // namespace lumivane
