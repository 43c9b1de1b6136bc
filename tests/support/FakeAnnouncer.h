#pragma once

#include "platform/Announcer.h"

#include <vector>

namespace lumivane::test {

/// Keeps what was to be spoken.
struct FakeAnnouncer final : Announcer {
    struct Announcement {
        QString text;
        AnnouncementPriority priority = AnnouncementPriority::medium;

        bool operator==(const Announcement&) const = default;
    };

    void announce(const QString& text, AnnouncementPriority priority) override;

    std::vector<Announcement> announcements;
};

} // namespace lumivane::test
