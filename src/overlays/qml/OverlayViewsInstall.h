#pragma once

namespace lumivane {

class AccessibilitySettings;

namespace OverlayViews {

/// Lets every view that is loaded from now on follow the desktop's settings. Called once, by the
/// composition root; views that are loaded without it take no needs for granted. Main thread only.
void install(AccessibilitySettings& settings);

} // namespace OverlayViews

} // namespace lumivane
