#pragma once

#include "domain/AppSettings.h"
#include "domain/ApplicationInformation.h"

#include <QString>

namespace lumivane::StoredFiles {

// Stands in for the settings store and the setup wizard: plain files in the user's folders.

/// `lumivane/settings.json` in the configuration folder, or, where there is none or it does not
/// decode, the defaults with the setup counted as finished.
AppSettings settings();

/// `lumivane/info.json` in the configuration folder; nothing known where there is none.
ApplicationInformation applicationInformation();

/// The token that the local service wrote for this user.
QString developmentTokenFile();

} // namespace lumivane::StoredFiles
