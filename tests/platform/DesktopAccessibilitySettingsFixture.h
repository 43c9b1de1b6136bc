#pragma once

#include "platform/linux/DesktopAccessibilitySettings.h"
#include "support/EventLoop.h"
#include "support/PrivateBus.h"
#include "support/SettingsPortal.h"

#include <QApplication>
#include <QProxyStyle>
#include <QStyleFactory>

#include <gtest/gtest.h>

namespace lumivane::test {

using Manner = SettingsPortal::Manner;

inline const auto appearance = u"org.freedesktop.appearance"_qs;
inline const auto gnome = u"org.gnome.desktop.interface"_qs;
inline const auto gnomeAccessibility = u"org.gnome.desktop.a11y.interface"_qs;
inline const auto kde = u"org.kde.kdeglobals.KDE"_qs;

/// A style whose animations take that many milliseconds.
class StyleWithDuration : public QProxyStyle {
public:
    explicit StyleWithDuration(int duration)
        : m_duration(duration) {}

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* more) const override {
        return hint == SH_Widget_Animation_Duration
                   ? m_duration
                   : QProxyStyle::styleHint(hint, option, widget, more);
    }

private:
    int m_duration;
};

class DesktopNeeds : public testing::Test {
protected:
    DesktopNeeds() { QApplication::setStyle(new StyleWithDuration(200)); }

    ~DesktopNeeds() override { QApplication::setStyle(QStyleFactory::create(u"fusion"_qs)); }

    /// Settings that count their changes.
    struct Subject {
        explicit Subject(const QDBusConnection& bus, std::function<bool()> canShow = {})
            : settings(bus, std::move(canShow)) {
            QObject::connect(&settings, &AccessibilitySettings::changed, &settings,
                             [this] { ++changes; });
        }

        DesktopAccessibilitySettings settings;
        int changes = 0;
    };

    /// Everything that was sent on the bus before this has been looked at after it.
    void settle(SettingsPortal& portal, Subject& subject) {
        const auto before = subject.settings.reduceTransparency();
        portal.change(appearance, u"contrast"_qs, uint(before ? 0 : 1));
        waitUntil([&] { return subject.settings.reduceTransparency() != before; });
        portal.change(appearance, u"contrast"_qs, uint(before ? 1 : 0));
        waitUntil([&] { return subject.settings.reduceTransparency() == before; });
        subject.changes -= 2;
    }

    static bool isRead(const SettingsPortal& portal) {
        return waitUntil([&] { return !portal.questions().isEmpty(); });
    }

    PrivateBus bus;
};

} // namespace lumivane::test
