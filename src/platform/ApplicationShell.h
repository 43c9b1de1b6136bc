#pragma once

#include "domain/Appearance.h"

namespace lumivane {

/// The running application as its desktop sees it: mechanism only. Main thread only.
class ApplicationShell {
public:
    virtual ~ApplicationShell() = default;

    /// The dress of every window and menu from now on.
    virtual void setAppearance(Appearance appearance) = 0;

    /// Asks the event loop to end. What was posted before it still runs.
    virtual void terminate() = 0;
};

} // namespace lumivane
