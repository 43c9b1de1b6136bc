#pragma once

#include <QRect>

namespace lumivane {

/// The panel that a primary click on the status item opens. Main thread only.
class PopoverPresenting {
public:
    virtual ~PopoverPresenting() = default;

    /// Opens the panel under `anchor`, a place in points of the desktop which may have no size, or
    /// closes it while it is up.
    virtual void toggle(const QRect& anchor) = 0;

    /// Harmless while it is not up.
    virtual void close() = 0;

    virtual bool isShown() const = 0;
};

} // namespace lumivane
