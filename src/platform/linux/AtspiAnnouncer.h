#pragma once

#include "platform/Announcer.h"

#include <QObject>
#include <QString>

namespace lumivane {

/// Announces on the accessibility bus, in the name of the program that assistive technology knows:
/// over the toolkit's own connection to that bus and from its root object.
///
/// That connection exists while the desktop says that assistive technology is there. Without it,
/// and on a bus that has stopped taking messages, an announcement is dropped: the words are on
/// screen, and later they would be wrong.
class AtspiAnnouncer final : public QObject, public Announcer {
public:
    /// `connectionName` is what the toolkit calls its connection to the accessibility bus.
    explicit AtspiAnnouncer(const QString& connectionName = defaultConnectionName());

    /// Sends the whole text, without waiting for the bus. The bus cannot carry U+0000: it goes as
    /// U+FFFD.
    void announce(const QString& text, AnnouncementPriority priority) override;

    static QString defaultConnectionName() { return QStringLiteral("a11y"); }

private:
    QString m_connectionName;
    int m_unconfirmed = 0; ///< announcements that the bus has not shown to have taken
};

} // namespace lumivane
