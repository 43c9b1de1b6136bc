#pragma once

#include "platform/AccessibilitySettings.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>

#include <array>
#include <functional>
#include <optional>

namespace lumivane {

/// The user's needs, from the desktop's settings portal, live.
///
/// Motion is reduced where any setting of the portal that speaks of motion asks for it; where none
/// does, because there is no portal or it has not answered yet, the toolkit's setting counts: that
/// the style's animations take no time. Transparency is reduced where the portal asks for more
/// contrast, and wherever the desktop cannot show it. A portal that ends leaves its last word
/// standing until the next one speaks. No call waits for the bus.
class DesktopAccessibilitySettings final : public AccessibilitySettings {
    Q_OBJECT

public:
    /// `canShowTransparency` is asked now and at each `transparencySupportChanged`; an empty one
    /// stands for a desktop that always can.
    explicit DesktopAccessibilitySettings(const QDBusConnection& sessionBus,
                                          std::function<bool()> canShowTransparency = {},
                                          QObject* parent = nullptr);

    bool reduceMotion() const override { return m_reducesMotion; }

    bool reduceTransparency() const override { return m_reducesTransparency; }

    /// `canShowTransparency` may answer something else from now on.
    void transparencySupportChanged() { update(); }

private:
    static constexpr int settingCount = 5;

    Q_SLOT void followPortal(const QString& name, const QString& before, const QString& now);
    Q_SLOT void takeChange(const QDBusMessage& message);
    void read();
    void takeAnswer(const QDBusMessage& answer);
    void followStyle();
    void update();
    bool wantsLessMotion() const;
    bool wantsLessTransparency() const;

    QDBusConnection m_bus;
    std::function<bool()> m_canShowTransparency;
    QString m_portal;   ///< who answered, by its unique name: only its changes count
    int m_readings = 0; ///< how often the portal was asked: only the last answer counts
    std::array<std::optional<bool>, settingCount> m_wishes; ///< "less of it", in the table's order
    bool m_reducesMotion = false;
    bool m_reducesTransparency = false;
};

} // namespace lumivane
