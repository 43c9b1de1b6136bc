#pragma once

#include "domain/SettingsDestination.h"

namespace lumivane {

/// Opens the configuration window. Main thread only.
class SettingsPresenting {
public:
    virtual ~SettingsPresenting() = default;

    virtual void presentSettings(SettingsDestination destination) = 0;
};

} // namespace lumivane
