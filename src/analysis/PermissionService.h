#pragma once

#include "analysis/PermissionServing.h"
#include "platform/DisplayServer.h"
#include "platform/UrlOpener.h"

#include <QLatin1StringView>

namespace lumivane {

/// The permission to capture the screen, as the display server grants it. Main thread.
///
/// A display server that grants capture to whoever may connect has nobody to ask: the answer to a
/// request is then what it was before.
class PermissionService final : public PermissionServing {
public:
    /// Where the system keeps this permission. A desktop without such a pane opens nothing.
    static constexpr QLatin1StringView screenRecordingPane{
        "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture"};

    /// Both outlive the service.
    PermissionService(const DisplayServer& displays, UrlOpener& opener)
        : m_displays(displays)
        , m_opener(opener) {}

    bool hasScreenRecording() const override;
    bool requestScreenRecording() override;
    void openScreenRecordingSettings() override;

private:
    const DisplayServer& m_displays;
    UrlOpener& m_opener;
};

} // namespace lumivane
