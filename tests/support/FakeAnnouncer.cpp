#include "support/FakeAnnouncer.h"

namespace lumivane::test {

void FakeAnnouncer::announce(const QString& text, AnnouncementPriority priority) {
    announcements.push_back({text, priority});
}

} // namespace lumivane::test
