#pragma once

#include "async/Clock.h"
#include "platform/Announcer.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>

#include <cstddef>
#include <deque>
#include <memory>

namespace lumivane {

/// Announces on the accessibility bus, in the name of the program that assistive technology knows:
/// over the toolkit's own connection to that bus and from its root object.
///
/// The announcement event is younger than some of the screen readers in use, which therefore never
/// asked for it. Where nobody did, the words are shown to them as a notification as well: an object
/// with that role, with the words for its name and without a window, which begins to show. They say
/// "notification" and the words, and cannot be told how much that may interrupt.
///
/// The connection exists where the desktop says that assistive technology is there; the toolkit
/// looks at that once, when the later of program and accessibility service starts. Without it, and
/// on a bus that has stopped taking messages, an announcement is dropped: the words are on screen,
/// and later they would be wrong.
class AtspiAnnouncer final : public QObject, public Announcer {
public:
    /// `connectionName` is what the toolkit calls its connection to the accessibility bus. `clock`
    /// outlives this.
    explicit AtspiAnnouncer(Clock& clock, const QString& connectionName = defaultConnectionName());
    ~AtspiAnnouncer() override;

    /// Sends the whole text, without waiting for the bus. The bus cannot carry U+0000: it goes as
    /// U+FFFD.
    void announce(const QString& text, AnnouncementPriority priority) override;

    static QString defaultConnectionName() { return QStringLiteral("a11y"); }

private:
    struct Notification;

    void showWhereNobodyHears(const QString& text);
    void show(const QString& text);
    void hideOldest();

    Clock& m_clock;
    QString m_connectionName;
    std::size_t m_unconfirmed = 0;    ///< announcements that the bus has not shown to have taken
    std::size_t m_unanswered = 0;     ///< questions to the registry that are under way
    std::deque<Notification> m_shown; ///< oldest first
};

} // namespace lumivane
