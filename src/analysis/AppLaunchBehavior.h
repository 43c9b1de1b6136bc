#pragma once

#include "domain/AppSettings.h"

/// What a start shows by itself.
namespace lumivane::AppLaunchBehavior {

/// True when a start would otherwise show nothing at all: the program is set up, its icon is
/// hidden, and the user started it by hand. A start with the session stays silent.
inline bool shouldPresentSettingsAfterLaunch(const AppSettings& settings,
                                             bool launchedAsLoginItem) {
    return settings.configured && !settings.showInMenuBar && !launchedAsLoginItem;
}

} // namespace lumivane::AppLaunchBehavior
