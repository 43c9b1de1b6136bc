#pragma once

#include "analysis/AppModel.h"
#include "analysis/SettingsPresenting.h"

namespace lumivane {

/// Stands in for the configuration window. It finishes the setup with the values of a new
/// installation, except that nothing is started with the session before the user asked for it.
class SetupByDefaults final : public SettingsPresenting {
public:
    void presentSettings(SettingsDestination destination) override;

    AppModel* model = nullptr; ///< set before the first call, and outlives the last
};

} // namespace lumivane
