#pragma once

#include "domain/AppSettings.h"

#include <QString>

namespace lumivane {

/// What of the status item's menu depends on settings and results.
struct LumivaneStatusMenuState {
    LumivaneStatusMenuState(const AppSettings& settings, bool hasLastResult);

    bool analyzeEnabled;
    QString pauseTitle;
    QString presetTitle;
    QString activationTitle;
    bool copyEnabled; ///< "Show Last Result Again" goes along with it

    bool operator==(const LumivaneStatusMenuState&) const = default;
};

} // namespace lumivane
