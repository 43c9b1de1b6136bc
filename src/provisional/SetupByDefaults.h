#pragma once

#include "analysis/AppModel.h"
#include "analysis/SettingsPresenting.h"
#include "provisional/AccountWindow.h"

namespace lumivane {

/// Stands in for the configuration window. It finishes the setup with the values of a new
/// installation, except that nothing is started with the session before the user asked for it, and
/// opens the account's window where the user has to log in or wants to.
class SetupByDefaults final : public SettingsPresenting {
public:
    void presentSettings(SettingsDestination destination) override;

    // Both set before the first call; they outlive the last.
    AppModel* model = nullptr;
    AccountWindow* accountWindow = nullptr;

private:
    void finishSetup();
};

} // namespace lumivane
