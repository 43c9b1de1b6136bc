#pragma once

#include <QObject>

namespace lumivane {

/// What the desktop says of its user's needs. Main thread only.
class AccessibilitySettings : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// The user wants no movement that decorates.
    virtual bool reduceMotion() const = 0;

    /// The user wants nothing see-through, or the desktop cannot show it.
    virtual bool reduceTransparency() const = 0;

Q_SIGNALS:
    /// One of the answers differs from before.
    void changed();
};

} // namespace lumivane
