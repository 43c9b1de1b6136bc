#pragma once

#include <QString>

namespace lumivane {

/// How much an announcement may interrupt, on the scale that assistive technology uses.
enum class AnnouncementPriority { medium = 50, high = 90 };

/// Speaks through the desktop's assistive technology, if any runs. Main thread only.
class Announcer {
public:
    virtual ~Announcer() = default;

    /// Returns at once; nobody learns whether somebody listened.
    virtual void announce(const QString& text, AnnouncementPriority priority) = 0;
};

} // namespace lumivane
