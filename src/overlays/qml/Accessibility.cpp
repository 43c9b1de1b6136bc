#include "overlays/qml/Accessibility.h"

#include "overlays/qml/OverlayViewsInstall.h"

namespace lumivane {

namespace {

// The engine makes this singleton itself, so that nothing can be handed to its constructor.
QPointer<AccessibilitySettings>& installedSettings() {
    static QPointer<AccessibilitySettings> settings;
    return settings;
}

} // namespace

void OverlayViews::install(AccessibilitySettings& settings) { installedSettings() = &settings; }

Accessibility* Accessibility::create(QQmlEngine*, QJSEngine*) {
    return new Accessibility(installedSettings());
}

Accessibility::Accessibility(AccessibilitySettings* settings)
    : m_settings(settings) {
    if (settings) {
        connect(settings, &AccessibilitySettings::changed, this, &Accessibility::changed);
    }
}

} // namespace lumivane
