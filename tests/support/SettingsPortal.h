#pragma once

#include "support/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QMap>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace lumivane::test {

/// Groups of settings, with a value for each key.
using PortalSettings = QMap<QString, QVariantMap>;

/// The desktop's settings portal on a bus of a test's own, or the desktop behind the real portal,
/// which speaks the same language. It leaves the bus with its object.
class SettingsPortal : public QObject {
    Q_OBJECT

public:
    enum class Manner { answers, fails, staysSilent };
    enum class Seat { portal, desktop };

    /// The name of the desktop behind the portal.
    static QString desktopName() {
        return QStringLiteral("org.freedesktop.impl.portal.desktop.test");
    }

    /// Answers with `settings` from the start.
    SettingsPortal(PrivateBus& bus, const PortalSettings& settings, Manner manner = Manner::answers,
                   Seat seat = Seat::portal);

    /// As above, with an answer of any kind.
    SettingsPortal(PrivateBus& bus, const QVariant& answer, Manner manner = Manner::answers,
                   Seat seat = Seat::portal);

    /// Answers what has been asked silently so far.
    void answerNow();

    /// Gives the name up, so that another can be the portal, but stays on the bus.
    void stepDown();

    /// Tells of a change, as the portal does.
    void change(const QString& group, const QString& key, const QVariant& value);

    /// Tells something of any kind under that name.
    void tell(const QVariantList& arguments);

    ~SettingsPortal() override;

    /// The groups that were asked for, one entry for each question.
    const QList<QStringList>& questions() const { return m_questions; }

public Q_SLOTS:
    void ReadAll(const QStringList& groups, const QDBusMessage& message);

private:
    void answer(const QDBusMessage& question);

    QDBusConnection m_bus;
    Seat m_seat;
    QVariant m_answer;
    Manner m_manner;
    QList<QStringList> m_questions;
    QList<QDBusMessage> m_unanswered;
};

} // namespace lumivane::test
