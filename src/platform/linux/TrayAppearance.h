#pragma once

#include "domain/Appearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

namespace lumivane {

/// The dress of the desktop's panels, live, from the settings portal. Where nobody says
/// that the desktop prefers dark, panels count as light: the colours that are made for light ground
/// can still be told from dark ground, the others not the other way round. No call waits for the
/// bus. Main thread only.
class TrayAppearance final : public QObject {
    Q_OBJECT

public:
    explicit TrayAppearance(const QDBusConnection& sessionBus);

    Appearance appearance() const { return m_appearance; }

Q_SIGNALS:
    void changed();

private:
    Q_SLOT void followPortal(const QString& name, const QString& before, const QString& now);
    Q_SLOT void takeChange(const QDBusMessage& message);
    void read();
    void takeAnswer(const QDBusMessage& answer);
    void takeScheme(const QVariant& value);

    QDBusConnection m_bus;
    QString m_portal; ///< the unique name of who answered last
    Appearance m_appearance = Appearance::light;
};

} // namespace lumivane
