#pragma once

namespace lumivane {

/// The pane at which the configuration window opens.
enum class SettingsDestination { general, capture, output, account };

} // namespace lumivane
